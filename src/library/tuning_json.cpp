#include "tuning_json.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QJsonValue>
#include <array>
#include <utility>

namespace gs {
namespace {

using Field = double ShadingTuning::*;
const std::array<std::pair<const char*, Field>, 14> kFields = {{
    {"curve", &ShadingTuning::curve},
    {"demThickness", &ShadingTuning::demThickness},
    {"demSoftness", &ShadingTuning::demSoftness},
    {"glowStrength", &ShadingTuning::glowStrength},
    {"glowRadius", &ShadingTuning::glowRadius},
    {"glowDim", &ShadingTuning::glowDim},
    {"glowTint", &ShadingTuning::glowTint},
    {"trapReach", &ShadingTuning::trapReach},
    {"trapSharpness", &ShadingTuning::trapSharpness},
    {"trapGlint", &ShadingTuning::trapGlint},
    {"reliefHeight", &ShadingTuning::reliefHeight},
    {"reliefShadow", &ShadingTuning::reliefShadow},
    {"reliefShine", &ShadingTuning::reliefShine},
    {"reliefEdgeCalm", &ShadingTuning::reliefEdgeCalm},
}};

}  // namespace

QJsonObject shadingTuningToJson(const ShadingTuning& t) {
    QJsonObject o;
    for (const auto& [key, field] : kFields) o.insert(QLatin1String(key), t.*field);
    return o;
}

QByteArray encodeShadingTuning(const ShadingTuning& t) {
    return QJsonDocument(shadingTuningToJson(t)).toJson(QJsonDocument::Compact);
}

std::optional<ShadingTuning> shadingTuningFromJson(const QJsonObject& o, QString* error) {
    ShadingTuning t;
    for (const auto& [key, field] : kFields) {
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

std::optional<ShadingTuning> decodeShadingTuning(const QByteArray& json, QString* error) {
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
    return shadingTuningFromJson(doc.object(), error);
}

}  // namespace gs
