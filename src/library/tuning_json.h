// JSON coding of the shading tuning: an object whose keys are the field names, each a number.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <optional>

#include "core/shading.h"

namespace gs {

QJsonObject shadingTuningToJson(const ShadingTuning& t);
QByteArray encodeShadingTuning(const ShadingTuning& t);  // compact UTF-8 JSON
// All fourteen keys are required and must be numbers (any order, extra keys ignored). On
// failure returns nothing and, when error is given, names the problem.
std::optional<ShadingTuning> shadingTuningFromJson(const QJsonObject& o, QString* error = nullptr);
std::optional<ShadingTuning> decodeShadingTuning(const QByteArray& json, QString* error = nullptr);

}  // namespace gs
