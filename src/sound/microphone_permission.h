// Whether the program may record from the microphone. Linux has no such permission: recording
// is always granted there. The refusal path stays so that a system which does report one can
// keep the alert below.
#pragma once

#include <QObject>

#include <functional>

namespace gs {

enum class MicrophonePermission { granted, denied, undetermined };

// The system's current answer.
MicrophonePermission microphonePermission();

// Asks the system (when the answer is undetermined). answer(granted) runs on context's thread
// from its event loop, and not at all once context is gone.
void requestMicrophonePermission(QObject* context, std::function<void(bool granted)> answer);

// The alert shown when recording is refused.
inline constexpr char kMicrophoneAlertTitle[] = "Microphone Access Needed";
inline constexpr char kMicrophoneAlertMessage[] =
    "Sound Reactive mode reacts to live microphone audio. Allow microphone access in System "
    "Settings to use it.";
inline constexpr char kMicrophoneAlertCancel[] = "Cancel";
inline constexpr char kMicrophoneAlertOpenSettings[] = "Open Settings";

}  // namespace gs
