#include "library/bookmark.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <limits>

#include "library/tuning_json.h"
#include "library_test_support.h"

namespace gs {
namespace {

using namespace Qt::StringLiterals;

TEST(TuningJson, IsWrittenInFieldOrderAndReadInAnyOrderWithEveryKey) {
    EXPECT_EQ(
        encodeSoundTuning({}),
        R"({"sensitivity":1,"spin":0.12,"hue":1,"glowBoost":2.5,"shockwave":0.6,"response":1})");
    EXPECT_EQ(
        decodeSoundTuning(
            R"({"response":2,"shockwave":0.1,"glowBoost":1e-05,"hue":-1,"spin":0.25,"sensitivity":3,"x":0})"),
        (SoundTuning{3, 0.25, -1, 1e-05, 0.1, 2}));
    QString why;
    EXPECT_FALSE(decodeSoundTuning(
        R"({"sensitivity":1,"spin":0.12,"hue":1,"glowBoost":2.5,"shockwave":"0.6","response":1})",
        &why));
    EXPECT_EQ(why, QStringLiteral("\"shockwave\" is not a number"));
    EXPECT_TRUE(encodeSoundTuning({std::numeric_limits<double>::quiet_NaN()}).isEmpty());
}

TEST(Bookmark, PackingRoundsHalvesAwayFromZeroAndClamps) {
    for (const auto& [value, byte] :
         {std::pair{1.0, 255}, {0.5, 128}, {-0.2, 0}, {1.7, 255}, {0.5 / 255, 1}, {0.49 / 255, 0}})
        EXPECT_EQ(static_cast<unsigned char>(packColorBytes({{value, 0, 0}})[0]), byte) << value;
}

TEST(Bookmark, JsonRoundTripsInFieldOrderWithTheTuningOnlyWhenPresent) {
    Bookmark b = test::sampleBookmark(QStringLiteral("Spiral \"2\" \\ café\t"));
    const QByteArray text = encodeBookmark(b);
    EXPECT_TRUE(
        text.startsWith(R"({"name":"Spiral \"2\" \\ café\u0009","xmin":-0.7500000000000002,)"))
        << text.constData();
    EXPECT_TRUE(text.endsWith(
        R"("soundEnabled":false,"tuning":{"curve":1,"demThickness":0,"demSoftness":2,"glowStrength":1.25,"glowRadius":0.8,"glowDim":0.8,"glowTint":0,"trapReach":0.4,"trapSharpness":0.45,"trapGlint":0.35,"reliefHeight":1,"reliefShadow":0,"reliefShine":1,"reliefEdgeCalm":0.6000000238418579}})"));
    EXPECT_EQ(decodeBookmark(text), b);
    b.tuning.reset();
    EXPECT_FALSE(encodeBookmark(b).contains("tuning"));
    b.name = QStringLiteral("✨ \U0001F30C ") + QChar(0xd800);  // an unpaired surrogate survives
    EXPECT_EQ(decodeBookmark(encodeBookmark(b)), b);
}

// Every key but the tuning must be there with its type: {key, value (undefined: the key is
// removed), the error (nullptr: the record still decodes)}.
TEST(Bookmark, NeedsEveryTypedKeyButTheTuning) {
    const struct {
        const char* key;
        QJsonValue value;
        const char* error;
    } cases[] = {
        {"tuning", QJsonValue(QJsonValue::Undefined), nullptr},
        {"tuning", QJsonValue(QJsonValue::Null), nullptr},
        {"futureField", 3, nullptr},
        {"xmin", QJsonValue(QJsonValue::Undefined), "missing key \"xmin\""},
        {"ymax", QStringLiteral("1"), "\"ymax\" is not a number"},
        {"glowEnabled", 1, "\"glowEnabled\" is not true or false"},
        {"tuning", QJsonObject{{QStringLiteral("curve"), 1}},
         "\"tuning\": missing key \"demThickness\""},
        {"paletteColors", QString::fromLatin1(QByteArray(765, 'x').toBase64()),
         "Expected 768 packed color bytes, got 765"},
        {"paletteColors", QString(1022, u'A'), "\"paletteColors\" is not padded base64 text"},
        {"xmax", -0.7500000000000002,
         "xmin, xmax, ymin, ymax do not make a view (xmin < xmax, ymin < ymax)"},
    };
    for (const auto& c : cases) {
        QJsonObject o = QJsonDocument::fromJson(encodeBookmark(test::sampleBookmark())).object();
        if (c.value.isUndefined())
            o.remove(QLatin1String(c.key));
        else
            o.insert(QLatin1String(c.key), c.value);
        QString why;
        const auto b = decodeBookmark(QJsonDocument(o).toJson(), &why);
        EXPECT_EQ(why, QString::fromUtf8(c.error ? c.error : "")) << c.key;
        EXPECT_FALSE(b && QLatin1String(c.key) == QLatin1String("tuning") && b->tuning) << c.key;
    }
}

TEST(Bookmark, ZoomFactorIsFourOverAUsableWidthElseOne) {
    const double inf = std::numeric_limits<double>::infinity();
    for (const auto& [xmin, xmax, zoom] : {std::tuple{-2.5, 1.5, 1.0},
                                           {0.0, 0.5, 8.0},
                                           {1.0, 1.0, 1.0},
                                           {1.0, 0.0, 1.0},
                                           {0.0, 4e-320, 1.0},
                                           {-inf, 0.0, 1.0}}) {
        Bookmark b;
        b.xmin = xmin;
        b.xmax = xmax;
        EXPECT_EQ(bookmarkZoomFactor(b), zoom) << xmin << " " << xmax;
    }
}

// The bounds' widths {x, y} are set on the sample bookmark, centred on zero.
TEST(Bookmark, ExplorableBoundsStopWhereThePixelSizeWouldOverflow) {
    for (const auto& [width, height, explorable] : {std::tuple{0.01, 0.0075, true},
                                                    {1e290, 0.0075, true},
                                                    {1.1e290, 0.0075, false},
                                                    {0.01, 1e300, false},
                                                    {0.01, 0.0, false}}) {
        Bookmark b = test::sampleBookmark();
        b.xmin = -width / 2;
        b.xmax = width / 2;
        b.ymin = -height / 2;
        b.ymax = height / 2;
        EXPECT_EQ(hasExplorableBounds(b), explorable) << width << " x " << height;
    }
}

}  // namespace
}  // namespace gs
