#include "tuning_json.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QJsonValue>

#include "core/tuning_fields.h"

namespace gs {

QJsonObject shadingTuningToJson(const ShadingTuning& t) {
    QJsonObject o;
    for (const TuningField& f : kTuningFields) o.insert(QLatin1String(f.key), t.*f.member);
    return o;
}

QByteArray encodeShadingTuning(const ShadingTuning& t) {
    return QJsonDocument(shadingTuningToJson(t)).toJson(QJsonDocument::Compact);
}

std::optional<ShadingTuning> shadingTuningFromJson(const QJsonObject& o, QString* error) {
    ShadingTuning t;
    for (const TuningField& f : kTuningFields) {
        const QJsonValue v = o.value(QLatin1String(f.key));
        if (!v.isDouble()) {
            const QLatin1String key(f.key);
            if (error)
                *error = v.isUndefined() ? QStringLiteral("missing key \"%1\"").arg(key)
                                         : QStringLiteral("\"%1\" is not a number").arg(key);
            return std::nullopt;
        }
        t.*f.member = v.toDouble();
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
