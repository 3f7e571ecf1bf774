#include <gtest/gtest.h>

#include <QUrlQuery>

#include "library/share_link.h"
#include "library_test_support.h"

namespace gs {
namespace {

// The sample bookmark as a link would bring it back: colours quantised to 1/255, no tuning.
Bookmark asCarried(Bookmark b) {
    b.paletteColors.colors = *unpackColorBytes(packColorBytes(b.paletteColors.colors));
    b.tuning.reset();
    return b;
}

// The sample's link, made once.
const QString& sampleLink() {
    static const QString link = *makeLink(test::sampleBookmark());
    return link;
}

TEST(ShareLink, IsWrittenInTheFixedOrder) {
    const QString& link = sampleLink();
    const QString pal = QUrlQuery(link.mid(link.indexOf(u'?') + 1)).queryItemValue(QStringLiteral("pal"));
    EXPECT_EQ(pal.size(), 1024);
    EXPECT_EQ(link, QStringLiteral("glimmerscape://bookmark?v=1&xmin=-0.7500000000000002&xmax=-0.7400000000000001"
                                    "&ymin=0.1&ymax=0.1075&pal=") +
                         pal + QStringLiteral("&name=Seahorse%20Valley&modes=b&lx=-0.5&ly=1e-05"));
}

TEST(ShareLink, GivesBackEveryFieldButTheTuning) {
    for (const QString& name : {QStringLiteral("Spiral & Co = 100% +1"), QStringLiteral("Ünïcødé ✨"), QStringLiteral("Bookmark")}) {
        Bookmark b = test::sampleBookmark(name);
        b.paletteColors.colors[7] = {0.1, 0.5, 0.999};
        b.xmin = 0.1 + 0.2;
        b.xmax = 0.30000000000000010;
        b.soundEnabled = true;
        b.reliefEnabled = false;
        const auto link = makeLink(b);
        ASSERT_TRUE(link);
        EXPECT_EQ(readLink(*link), asCarried(b)) << link->toStdString();
    }
}

TEST(ShareLink, IsNotMadeForWhatItCannotCarry) {
    Bookmark b = test::sampleBookmark();
    b.paletteColors.colors.pop_back();
    EXPECT_FALSE(makeLink(b));
    b = test::sampleBookmark();
    b.reliefLightRawX = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(makeLink(b));
}

struct LinkCase {
    const char* name;
    QString from, to;  // the made link with the first occurrence of `from` replaced by `to`
    bool reads;
};

void PrintTo(const LinkCase& c, std::ostream* os) { *os << c.name; }

class Reading : public ::testing::TestWithParam<LinkCase> {};

TEST_P(Reading, FollowsEveryRule) {
    QString link = sampleLink();
    const qsizetype at = link.indexOf(GetParam().from);
    ASSERT_GE(at, 0);
    link.replace(at, GetParam().from.size(), GetParam().to);
    QString why;
    EXPECT_EQ(readLink(link, &why).has_value(), GetParam().reads) << why.toStdString();
    if (!GetParam().reads) {
        EXPECT_FALSE(why.isEmpty());
    }
}

#define LINK_CASE(name, from, to, reads) LinkCase{name, QStringLiteral(from), QStringLiteral(to), reads}
INSTANTIATE_TEST_SUITE_P(
    ShareLink, Reading,
    ::testing::Values(
        LINK_CASE("capital scheme", "glimmerscape:", "GlimmerScape:", true),
        LINK_CASE("capital host", "//bookmark", "//Bookmark", false),
        LINK_CASE("other scheme", "glimmerscape:", "https:", false),
        LINK_CASE("no authority", "://bookmark", ":bookmark", false),
        LINK_CASE("version 2", "v=1", "v=2", false),
        LINK_CASE("no version", "v=1&", "", false),
        LINK_CASE("version without value is skipped", "v=1", "v", false),
        LINK_CASE("later duplicate wins", "v=1", "v=2&v=1", true),
        LINK_CASE("later duplicate wins over a good one", "&ly=", "&v=3&ly=", false),
        LINK_CASE("valueless item skipped", "&modes", "&xmin&modes", true),
        LINK_CASE("equal edges", "xmax=-0.7400000000000001", "xmax=-0.7500000000000002", false),
        LINK_CASE("inverted edges", "ymin=0.1&", "ymin=0.2&", false),
        LINK_CASE("exponent and plus forms", "ymin=0.1&", "ymin=%2B1e-1&", true),
        LINK_CASE("not a number", "lx=-0.5", "lx=-0.5x", false),
        LINK_CASE("nan", "lx=-0.5", "lx=nan", false),
        LINK_CASE("modes upper case", "modes=b", "modes=1F", true),
        LINK_CASE("modes zz", "modes=b", "modes=zz", false),
        LINK_CASE("modes 0x", "modes=b", "modes=0x1f", false),
        LINK_CASE("bad percent escape", "Seahorse%20Valley", "Seahorse%2", false),
        LINK_CASE("fragment ignored", "ly=1e-05", "ly=1e-05#top", true),
        LINK_CASE("no name", "&name=Seahorse%20Valley", "", true)));

TEST(ShareLink, APalMissingItsLastCharacterIsIgnored) {
    QString link = sampleLink();
    link.remove(link.indexOf(QStringLiteral("&name=")) - 1, 1);
    QString why;
    EXPECT_FALSE(readLink(link, &why));
    EXPECT_TRUE(why.endsWith(QStringLiteral("got 767)"))) << why.toStdString();
}

struct ModesCase {
    const char* modes;
    bool dem, relief, glow, traps, sound;
};

class Modes : public ::testing::TestWithParam<ModesCase> {};

TEST_P(Modes, AreBitsOfAHexadecimalNumber) {
    QString link = sampleLink();
    link.replace(QStringLiteral("modes=b"), QStringLiteral("modes=") + QLatin1String(GetParam().modes));
    const auto b = readLink(link);
    ASSERT_TRUE(b);
    EXPECT_EQ((std::array{b->demEnabled, b->reliefEnabled, b->glowEnabled, b->trapsEnabled, b->soundEnabled}),
              (std::array{GetParam().dem, GetParam().relief, GetParam().glow, GetParam().traps, GetParam().sound}));
}

INSTANTIATE_TEST_SUITE_P(ShareLink, Modes,
                         ::testing::Values(ModesCase{"1f", true, true, true, true, true},
                                           ModesCase{"1F", true, true, true, true, true},
                                           ModesCase{"0", false, false, false, false, false},
                                           ModesCase{"6", false, true, true, false, false},
                                           ModesCase{"ffe0", false, false, false, false, false},
                                           ModesCase{"-1", true, true, true, true, true}));

TEST(ShareLink, ANameIsTrimmedAndDefaultsToBookmark) {
    const std::pair<const char*, const char*> cases[] = {
        {"name=%20%09Spiral%20", "Spiral"}, {"name=%20%20", "Bookmark"}, {"name=", "Bookmark"},
        {"name", "Bookmark"}, {"name=a+b", "a+b"}, {"name=Caf%C3%A9", "Café"}};
    for (const auto& [item, name] : cases) {
        QString link = sampleLink();
        link.replace(QStringLiteral("name=Seahorse%20Valley"), QLatin1String(item));
        const auto b = readLink(link);
        ASSERT_TRUE(b) << item;
        EXPECT_EQ(b->name, QString::fromUtf8(name)) << item;
    }
}

}  // namespace
}  // namespace gs
