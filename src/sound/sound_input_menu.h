// The entries of the sound-input menu: the system default first, then every input the system
// offers, with the one in use checked. Qt Core only, so it is tested without a window.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace gs {

// One audio input as the system lists it: its id (QAudioDevice::id) and its description.
struct AudioInputChoice {
    QByteArray id;
    QString description;
};

inline constexpr char kSystemDefaultInput[] = "System Default";

struct SoundInputMenuEntry {
    QString label;
    QByteArray id;  // empty for the system default
    bool checked = false;
    friend bool operator==(const SoundInputMenuEntry&, const SoundInputMenuEntry&) = default;
};

// "System Default" (empty id), then the inputs in the system's order. The chosen input is
// checked; the system default is checked when nothing is chosen or the chosen input is gone
// (the capture then listens to the default). Inputs sharing a description (two identical
// microphones) are told apart by their ids; an input without a description shows its id.
QList<SoundInputMenuEntry> soundInputMenuEntries(const QList<AudioInputChoice>& inputs,
                                                 const QByteArray& chosen);

}  // namespace gs
