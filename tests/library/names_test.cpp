#include <gtest/gtest.h>

#include <QSet>
#include <algorithm>

#include "library/names.h"

namespace gs {
namespace {

TEST(Names, ListInTheOrderOfAFileBrowser) {
    QStringList names = {QStringLiteral("Spot 10"), QStringLiteral("spot 2"), QStringLiteral("Spot 9")};
    std::sort(names.begin(), names.end(), localizedStandardLess);
    EXPECT_EQ(names, (QStringList{QStringLiteral("spot 2"), QStringLiteral("Spot 9"), QStringLiteral("Spot 10")}));
}

TEST(Names, ATakenNameIsNumberedFromOne) {
    QSet<QString> taken;
    for (int i = 0; i < 3; ++i)
        taken.insert(uniqueName(QStringLiteral("Spiral"), [&](const QString& n) { return taken.contains(n); }));
    EXPECT_EQ(taken, (QSet<QString>{QStringLiteral("Spiral"), QStringLiteral("Spiral (1)"), QStringLiteral("Spiral (2)")}));
}

}  // namespace
}  // namespace gs

namespace gs {
namespace {

TEST(Names, OnlyBlanksAreTrimmed) {
    EXPECT_EQ(trimBlanks(QStringLiteral(" \t\u00a0Spiral \u3000")), QStringLiteral("Spiral"));
    EXPECT_EQ(trimBlanks(QStringLiteral("\nSpiral\n")), QStringLiteral("\nSpiral\n"));
    EXPECT_TRUE(trimBlanks(QStringLiteral("  \t ")).isEmpty());
}

}  // namespace
}  // namespace gs
