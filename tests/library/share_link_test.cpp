#include <gtest/gtest.h>

#include "library/share_link.h"
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
    EXPECT_EQ(link.left(pal), QStringLiteral("glimmerscape://bookmark?v=1&xmin=-0.7500000000000002"
                                             "&xmax=-0.7400000000000001&ymin=0.1&ymax=0.1075&pal="));
    EXPECT_EQ(link.mid(pal + 1024), QStringLiteral("&name=Seahorse%20Valley&modes=b&lx=-0.5&ly=1e-05"));
}

TEST(ShareLink, GivesBackEveryFieldButTheTuningWithColoursIn255ths) {
    for (const QString& name : {QStringLiteral("Spiral & Co = 100% +1"), QStringLiteral("Ünïcødé ✨")}) {
        Bookmark b = test::sampleBookmark(name);
        b.paletteColors.colors[7] = {0.1, 0.5, 0.999};
        b.xmin = 0.1 + 0.2;
        b.xmax = 0.30000000000000010;
        b.soundEnabled = true;
        const auto read = readLink(*makeLink(b));
        b.paletteColors.colors[7] = {26 / 255.0, 128 / 255.0, 1.0};
        b.tuning.reset();
        EXPECT_EQ(read, b);
    }
    Bookmark b = test::sampleBookmark();
    b.paletteColors.colors.pop_back();
    EXPECT_FALSE(makeLink(b));
}

struct LinkCase {
    const char* what;
    const char *from, *to;   // the sample link with the first `from` replaced by `to`
    const char* modesOrName;  // nullptr: the link is refused; else the modes as bits "DRGTS", or the name
};

void PrintTo(const LinkCase& c, std::ostream* os) { *os << c.what; }

std::string modes(const Bookmark& b) {
    std::string s;
    for (bool on : {b.demEnabled, b.reliefEnabled, b.glowEnabled, b.trapsEnabled, b.soundEnabled}) s += on ? '1' : '0';
    return s;
}

class Reading : public ::testing::TestWithParam<LinkCase> {};

TEST_P(Reading, FollowsEveryRule) {
    QString link = sampleLink();
    const QString from = QString::fromUtf8(GetParam().from);
    ASSERT_GE(link.indexOf(from), 0);
    link.replace(link.indexOf(from), from.size(), QString::fromUtf8(GetParam().to));
    QString why;
    const auto b = readLink(link, &why);
    ASSERT_EQ(b.has_value(), GetParam().modesOrName != nullptr) << why.toStdString();
    if (!b) {
        EXPECT_FALSE(why.isEmpty());
        return;
    }
    const std::string expected = GetParam().modesOrName;
    EXPECT_EQ(expected.find_first_not_of("01") == std::string::npos ? modes(*b) : b->name.toStdString(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    ShareLink, Reading,
    ::testing::Values(LinkCase{"capital scheme", "glimmerscape:", "GlimmerScape:", "11010"},
                      LinkCase{"capital host", "//bookmark", "//Bookmark", nullptr},
                      LinkCase{"other scheme", "glimmerscape:", "https:", nullptr},
                      LinkCase{"version 2", "v=1", "v=2", nullptr},
                      LinkCase{"version without value", "v=1", "v", nullptr},
                      LinkCase{"later duplicate wins", "v=1", "v=2&v=1", "11010"},
                      LinkCase{"later bad duplicate", "&ly=", "&v=3&ly=", nullptr},
                      LinkCase{"valueless item skipped", "&modes", "&xmin&modes", "11010"},
                      LinkCase{"equal edges", "xmax=-0.7400000000000001", "xmax=-0.7500000000000002", nullptr},
                      LinkCase{"exponent and plus forms", "ymin=0.1&", "ymin=%2B1e-1&", "11010"},
                      LinkCase{"nan", "lx=-0.5", "lx=nan", nullptr},
                      LinkCase{"modes 1F", "modes=b", "modes=1F", "11111"},
                      LinkCase{"modes 1f", "modes=b", "modes=1f", "11111"},
                      LinkCase{"glow and relief", "modes=b", "modes=6", "01100"},
                      LinkCase{"other bits ignored", "modes=b", "modes=ffe0", "00000"},
                      LinkCase{"modes zz", "modes=b", "modes=zz", nullptr},
                      LinkCase{"modes 0x", "modes=b", "modes=0x1f", nullptr},
                      LinkCase{"bad percent escape", "Seahorse%20Valley", "Seahorse%2", nullptr},
                      LinkCase{"name trimmed", "Seahorse%20Valley", "%20%09Spiral%20", "Spiral"},
                      LinkCase{"plus stays", "Seahorse%20Valley", "a+b%C3%A9", "a+bé"},
                      LinkCase{"blank name", "Seahorse%20Valley", "%20%20", "Bookmark"},
                      LinkCase{"no name", "&name=Seahorse%20Valley", "", "Bookmark"}));

TEST(ShareLink, APalMissingItsLastCharacterIsRefused) {
    QString link = sampleLink();
    link.remove(link.indexOf(QStringLiteral("&name=")) - 1, 1);
    QString why;
    EXPECT_FALSE(readLink(link, &why));
    EXPECT_TRUE(why.endsWith(QStringLiteral("got 767)"))) << why.toStdString();
}

}  // namespace
}  // namespace gs
