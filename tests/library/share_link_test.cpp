#include "library/share_link.h"

#include <gtest/gtest.h>

#include "library_test_support.h"

namespace gs {
namespace {

const QString& sampleLink() {
    static const QString link = *makeLink(test::sampleBookmark());
    return link;
}

TEST(ShareLink, IsWrittenInTheFixedOrderWithA1024CharacterPal) {
    const QString& link = sampleLink();
    const qsizetype pal = link.indexOf(QStringLiteral("&pal=")) + 5;
    EXPECT_EQ(link.indexOf(u'&', pal) - pal, 1024);
    EXPECT_EQ(link.left(pal),
              QStringLiteral("glimmerscape://bookmark?v=1&xmin=-0.7500000000000002"
                             "&xmax=-0.7400000000000001&ymin=0.1&ymax=0.1075&pal="));
    EXPECT_EQ(link.mid(pal + 1024),
              QStringLiteral("&name=Seahorse%20Valley&modes=b&lx=-0.5&ly=1e-05"));
}

std::string modes(const Bookmark& b) {
    std::string s;
    for (bool on : {b.demEnabled, b.reliefEnabled, b.glowEnabled, b.trapsEnabled, b.soundEnabled})
        s += on ? '1' : '0';
    return s;
}

// The sample link with the first `from` replaced by `to`: refused (nullptr), or read with the
// modes as bits "DRGTS", or with the name given.
TEST(ShareLink, ReadingFollowsEveryRule) {
    const struct {
        const char* what;
        const char *from, *to;
        const char* modesOrName;
    } cases[] = {
        {"capital scheme", "glimmerscape:", "GlimmerScape:", "11010"},
        {"capital host", "//bookmark", "//Bookmark", nullptr},
        {"other scheme", "glimmerscape:", "https:", nullptr},
        {"version 2", "v=1", "v=2", nullptr},
        {"later duplicate wins", "v=1", "v=2&v=1", "11010"},
        {"valueless item skipped", "&modes", "&xmin&modes", "11010"},
        {"equal edges", "xmax=-0.7400000000000001", "xmax=-0.7500000000000002", nullptr},
        {"exponent and plus forms", "ymin=0.1&", "ymin=%2B1e-1&", "11010"},
        {"modes 1F", "modes=b", "modes=1F", "11111"},
        {"glow and relief", "modes=b", "modes=6", "01100"},
        {"other bits ignored", "modes=b", "modes=ffe0", "00000"},
        {"modes 0x", "modes=b", "modes=0x1f", nullptr},
        {"bad percent escape", "Seahorse%20Valley", "Seahorse%2", nullptr},
        {"name trimmed", "Seahorse%20Valley", "%20%09Spiral%20", "Spiral"},
        {"plus stays", "Seahorse%20Valley", "a+b%C3%A9", "a+bé"},
        {"no name", "&name=Seahorse%20Valley", "", "Bookmark"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QString link = sampleLink();
        const QString from = QString::fromUtf8(c.from);
        ASSERT_GE(link.indexOf(from), 0);
        link.replace(link.indexOf(from), from.size(), QString::fromUtf8(c.to));
        QString why;
        const auto b = readLink(link, &why);
        ASSERT_EQ(b.has_value(), c.modesOrName != nullptr) << why.toStdString();
        if (!b) continue;
        const std::string expected = c.modesOrName;
        EXPECT_EQ(expected.find_first_not_of("01") == std::string::npos ? modes(*b)
                                                                        : b->name.toStdString(),
                  expected);
    }
}

// The palette is exactly 256 colours both ways: a shorter one makes no link, and a link whose
// colours fall short is refused saying how many it holds.
TEST(ShareLink, APaletteOtherThan256ColoursIsRefused) {
    Bookmark b = test::sampleBookmark();
    b.paletteColors.colors.pop_back();
    EXPECT_FALSE(makeLink(b));
    QString link = sampleLink();
    link.remove(link.indexOf(QStringLiteral("&name=")) - 1, 1);
    QString why;
    EXPECT_FALSE(readLink(link, &why));
    EXPECT_TRUE(why.endsWith(QStringLiteral("got 767)"))) << why.toStdString();
}

}  // namespace
}  // namespace gs
