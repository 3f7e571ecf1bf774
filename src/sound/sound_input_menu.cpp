#include "sound/sound_input_menu.h"

#include <algorithm>

namespace gs {

namespace {

QString labelOf(const AudioInputChoice& input, const QList<AudioInputChoice>& all) {
    const QString id = QString::fromUtf8(input.id);
    if (input.description.trimmed().isEmpty()) return id;
    const auto same = std::count_if(all.begin(), all.end(), [&](const AudioInputChoice& other) {
        return other.description == input.description;
    });
    return same > 1 ? QStringLiteral("%1 (%2)").arg(input.description, id) : input.description;
}

}  // namespace

QList<SoundInputMenuEntry> soundInputMenuEntries(const QList<AudioInputChoice>& inputs,
                                                 const QByteArray& chosen) {
    const bool chosenListed =
        !chosen.isEmpty() && std::any_of(inputs.begin(), inputs.end(),
                                         [&](const AudioInputChoice& i) { return i.id == chosen; });
    QList<SoundInputMenuEntry> entries;
    entries.reserve(inputs.size() + 1);
    entries.append({QString::fromUtf8(kSystemDefaultInput), {}, !chosenListed});
    for (const AudioInputChoice& input : inputs)
        entries.append({labelOf(input, inputs), input.id, chosenListed && input.id == chosen});
    return entries;
}

}  // namespace gs
