// JSON coding of the two tunings: an object whose keys are the field names, each a number,
// written in field order ({"sensitivity":1,"spin":0.12,…}).
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <optional>

#include "core/shading.h"
#include "core/sound_tuning.h"

namespace gs {

// Compact UTF-8 JSON; empty when a field is not finite (JSON cannot hold it).
QByteArray encodeShadingTuning(const ShadingTuning& t);
QByteArray encodeSoundTuning(const SoundTuning& t);

// Every key is required and must be a number (any order, extra keys ignored). On failure
// returns nothing and, when error is given, names the problem.
std::optional<ShadingTuning> shadingTuningFromJson(const QJsonObject& o, QString* error = nullptr);
std::optional<ShadingTuning> decodeShadingTuning(const QByteArray& json, QString* error = nullptr);
std::optional<SoundTuning> soundTuningFromJson(const QJsonObject& o, QString* error = nullptr);
std::optional<SoundTuning> decodeSoundTuning(const QByteArray& json, QString* error = nullptr);

// The one JSON object a byte array holds; nothing (and the reason) when it holds anything else.
std::optional<QJsonObject> parseJsonObject(const QByteArray& json, QString* error = nullptr);

}  // namespace gs
