#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <limits>

#include "library/bookmark.h"
#include "library/tuning_json.h"
#include "library_test_support.h"

namespace gs {
namespace {

TEST(TuningJson, TheSoundTuningIsWrittenInFieldOrderAndReadInAnyOrder) {
    EXPECT_EQ(encodeSoundTuning(SoundTuning{}),
              R"({"sensitivity":1,"spin":0.12,"hue":1,"glowBoost":2.5,"shockwave":0.6,"response":1})");
    const auto t = decodeSoundTuning(
        R"({"response":2,"shockwave":0.1,"glowBoost":1e-05,"hue":-1,"spin":0.25,"sensitivity":3,"extra":"x"})");
    EXPECT_EQ(t, (SoundTuning{3, 0.25, -1, 1e-05, 0.1, 2}));
    ShadingTuning s;
    s.reliefEdgeCalm = 0.1 + 0.2;
    EXPECT_EQ(decodeShadingTuning(encodeShadingTuning(s)), s);
}

TEST(TuningJson, AMissingKeyOrANonNumberFailsTheWholeTuning) {
    QString why;
    EXPECT_FALSE(decodeSoundTuning(R"({"sensitivity":1,"spin":0.12,"hue":1,"glowBoost":2.5,"shockwave":0.6})", &why));
    EXPECT_EQ(why, QStringLiteral("missing key \"response\""));
    EXPECT_FALSE(decodeSoundTuning(R"({"sensitivity":"1","spin":0.12,"hue":1,"glowBoost":2.5,"shockwave":0.6,"response":1})", &why));
    EXPECT_EQ(why, QStringLiteral("\"sensitivity\" is not a number"));
    EXPECT_FALSE(decodeSoundTuning("[]"));
    EXPECT_TRUE(encodeSoundTuning(SoundTuning{std::numeric_limits<double>::quiet_NaN()}).isEmpty());
}

struct PackCase {
    double channel;
    unsigned char byte;
};

class Packing : public ::testing::TestWithParam<PackCase> {};

TEST_P(Packing, RoundsHalvesAwayFromZeroAndClamps) {
    const QByteArray bytes = packColorBytes({{GetParam().channel, 0, 1}});
    ASSERT_EQ(bytes.size(), 3);
    EXPECT_EQ(static_cast<unsigned char>(bytes[0]), GetParam().byte);
}

INSTANTIATE_TEST_SUITE_P(Bookmark, Packing,
                         ::testing::Values(PackCase{1.0, 255}, PackCase{0.5, 128}, PackCase{-0.2, 0},
                                           PackCase{0.0, 0}, PackCase{1.7, 255}, PackCase{0.5 / 255, 1},
                                           PackCase{0.49 / 255, 0}, PackCase{-1e300, 0}, PackCase{1e300, 255}));

TEST(Bookmark, UnpackingNeedsExactly768Bytes) {
    QString why;
    EXPECT_FALSE(unpackColorBytes(QByteArray(765, '\x10'), &why));
    EXPECT_EQ(why, QStringLiteral("Expected 768 packed color bytes, got 765"));
    const auto colors = unpackColorBytes(packColorBytes(test::sampleBookmark().paletteColors.colors));
    EXPECT_EQ(colors, test::sampleBookmark().paletteColors.colors);
}

TEST(Bookmark, JsonRoundTripsInFieldOrderWithTheTuningOnlyWhenPresent) {
    Bookmark b = test::sampleBookmark(QStringLiteral("Spiral \"2\" \\ café\t"));
    EXPECT_EQ(decodeBookmark(encodeBookmark(b)), b);
    const QByteArray text = encodeBookmark(b);
    EXPECT_TRUE(text.startsWith(R"({"name":"Spiral \"2\" \\ café\u0009","xmin":-0.7500000000000002,)")) << text.constData();
    EXPECT_TRUE(text.endsWith(R"("soundEnabled":false,"tuning":{"curve":1,"demThickness":0,"demSoftness":2,"glowStrength":1.25,"glowRadius":0.8,"glowDim":0.8,"glowTint":0,"trapReach":0.4,"trapSharpness":0.45,"trapGlint":0.35,"reliefHeight":1,"reliefShadow":0,"reliefShine":1,"reliefEdgeCalm":0.6000000238418579}})"));
    b.tuning.reset();
    EXPECT_FALSE(encodeBookmark(b).contains("tuning"));
    EXPECT_EQ(decodeBookmark(encodeBookmark(b)), b);
    EXPECT_EQ(decodeBookmarks(encodeBookmarks({b, test::sampleBookmark()})), (QList<Bookmark>{b, test::sampleBookmark()}));
    b.name = QStringLiteral("✨ \U0001F30C ") + QChar(0xd800) + QChar(0x1f);  // an unpaired surrogate survives
    EXPECT_EQ(decodeBookmark(encodeBookmark(b)), b);
}

// The sample record's JSON object with one key changed (a null value removes the key).
QByteArray withKey(const char* key, const QJsonValue& value) {
    QJsonObject o = QJsonDocument::fromJson(encodeBookmark(test::sampleBookmark())).object();
    if (value.isNull()) o.remove(QLatin1String(key));
    else o.insert(QLatin1String(key), value);
    return QJsonDocument(o).toJson();
}

struct RecordCase {
    const char* key;
    QJsonValue value;
    const char* error;  // nullptr: the record still decodes
};

class Record : public ::testing::TestWithParam<RecordCase> {};

TEST_P(Record, NeedsEveryTypedKeyButTheTuning) {
    QString why;
    const auto b = decodeBookmark(withKey(GetParam().key, GetParam().value), &why);
    EXPECT_EQ(b.has_value(), GetParam().error == nullptr) << why.toStdString();
    if (GetParam().error) {
        EXPECT_EQ(why, QString::fromUtf8(GetParam().error));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Bookmark, Record,
    ::testing::Values(
        RecordCase{"tuning", QJsonValue(), nullptr}, RecordCase{"futureField", 3, nullptr},
        RecordCase{"tuning", QJsonValue(QJsonValue::Null), nullptr},
        RecordCase{"xmin", QJsonValue(), "missing key \"xmin\""},
        RecordCase{"ymax", QStringLiteral("1"), "\"ymax\" is not a number"},
        RecordCase{"glowEnabled", 1, "\"glowEnabled\" is not true or false"},
        RecordCase{"name", QJsonValue(), "missing key \"name\""},
        RecordCase{"tuning", QJsonObject{{QStringLiteral("curve"), 1}}, "\"tuning\": missing key \"demThickness\""},
        RecordCase{"paletteColors", QStringLiteral("AAAA"), "Expected 768 packed color bytes, got 3"},
        RecordCase{"paletteColors", QString(1020, u'A') + QStringLiteral("AA=="), "Expected 768 packed color bytes, got 766"},
        RecordCase{"paletteColors", QString(1022, u'A'), "\"paletteColors\" is not padded base64 text"},
        RecordCase{"paletteColors", QString(1023, u'A') + u'-', "\"paletteColors\" is not padded base64 text"},
        RecordCase{"xmax", -0.76, "xmin, xmax, ymin, ymax do not make a view (xmin < xmax, ymin < ymax)"},
        RecordCase{"xmax", -0.7500000000000002, "xmin, xmax, ymin, ymax do not make a view (xmin < xmax, ymin < ymax)"}));

TEST(Bookmark, A765BytePaletteFailsWithTheCountAtTheEnd) {
    QString why;
    EXPECT_FALSE(decodeBookmark(withKey("paletteColors", QString::fromLatin1(QByteArray(765, 'x').toBase64())), &why));
    EXPECT_TRUE(why.endsWith(QStringLiteral(" 765")));
}

struct ZoomCase {
    double xmin, xmax, zoom;
};

class ZoomFactor : public ::testing::TestWithParam<ZoomCase> {};

TEST_P(ZoomFactor, IsFourOverTheWidthWhenTheWidthIsUsable) {
    Bookmark b;
    b.xmin = GetParam().xmin;
    b.xmax = GetParam().xmax;
    EXPECT_EQ(bookmarkZoomFactor(b), GetParam().zoom);
}

constexpr double kInf = std::numeric_limits<double>::infinity();
INSTANTIATE_TEST_SUITE_P(Bookmark, ZoomFactor,
                         ::testing::Values(ZoomCase{-2.5, 1.5, 1.0}, ZoomCase{0, 0.5, 8.0}, ZoomCase{1, 1, 1.0},
                                           ZoomCase{1, 0, 1.0}, ZoomCase{0, 4e-320, 1.0}, ZoomCase{-kInf, 0, 1.0},
                                           ZoomCase{0, std::numeric_limits<double>::quiet_NaN(), 1.0}));

}  // namespace
}  // namespace gs
