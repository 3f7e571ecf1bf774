#include "tuning_json.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QJsonValue>
#include <array>
#include <utility>

#include "core/tuning_fields.h"
#include "json_text.h"

namespace gs {
namespace {

template <class Tuning, std::size_t N>
using FieldTable = std::array<std::pair<const char*, double Tuning::*>, N>;

// The shading fields in their order, from the one table of them.
const FieldTable<ShadingTuning, 14> kShadingFields = [] {
    FieldTable<ShadingTuning, 14> table{};
    for (std::size_t i = 0; i < kTuningFields.size(); ++i)
        table[i] = {kTuningFields[i].key, kTuningFields[i].member};
    return table;
}();

const FieldTable<SoundTuning, 6> kSoundFields = {{
    {"sensitivity", &SoundTuning::sensitivity},
    {"spin", &SoundTuning::spin},
    {"hue", &SoundTuning::hue},
    {"glowBoost", &SoundTuning::glowBoost},
    {"shockwave", &SoundTuning::shockwave},
    {"response", &SoundTuning::response},
}};

template <class Tuning, std::size_t N>
QByteArray encode(const Tuning& t, const FieldTable<Tuning, N>& fields) {
    JsonObjectWriter writer;
    for (const auto& [key, field] : fields) writer.number(key, t.*field);
    return writer.finish();
}

template <class Tuning, std::size_t N>
std::optional<Tuning> fromJson(const QJsonObject& o, const FieldTable<Tuning, N>& fields,
                               QString* error) {
    Tuning t;
    for (const auto& [key, field] : fields) {
        const QJsonValue v = o.value(QLatin1String(key));
        if (!v.isDouble()) {
            if (error)
                *error = v.isUndefined() ? QStringLiteral("missing key \"%1\"").arg(key)
                                         : QStringLiteral("\"%1\" is not a number").arg(key);
            return std::nullopt;
        }
        t.*field = v.toDouble();
    }
    return t;
}

}  // namespace

std::optional<QJsonObject> parseJsonObject(const QByteArray& json, QString* error) {
    QJsonParseError parse{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parse);
    if (parse.error != QJsonParseError::NoError) {
        if (error) *error = QStringLiteral("not valid JSON (%1)").arg(parse.errorString());
        return std::nullopt;
    }
    if (!doc.isObject()) {
        if (error) *error = QStringLiteral("expected a JSON object");
        return std::nullopt;
    }
    return doc.object();
}

QByteArray encodeShadingTuning(const ShadingTuning& t) { return encode(t, kShadingFields); }
QByteArray encodeSoundTuning(const SoundTuning& t) { return encode(t, kSoundFields); }

std::optional<ShadingTuning> shadingTuningFromJson(const QJsonObject& o, QString* error) {
    return fromJson(o, kShadingFields, error);
}

std::optional<SoundTuning> soundTuningFromJson(const QJsonObject& o, QString* error) {
    return fromJson(o, kSoundFields, error);
}

std::optional<ShadingTuning> decodeShadingTuning(const QByteArray& json, QString* error) {
    const auto o = parseJsonObject(json, error);
    return o ? shadingTuningFromJson(*o, error) : std::nullopt;
}

std::optional<SoundTuning> decodeSoundTuning(const QByteArray& json, QString* error) {
    const auto o = parseJsonObject(json, error);
    return o ? soundTuningFromJson(*o, error) : std::nullopt;
}

}  // namespace gs
