#include "sound/microphone_permission.h"

#include <QMetaObject>

namespace gs {

MicrophonePermission microphonePermission() { return MicrophonePermission::granted; }

void requestMicrophonePermission(QObject* context, std::function<void(bool granted)> answer) {
    QMetaObject::invokeMethod(
        context, [answer = std::move(answer)] { answer(true); }, Qt::QueuedConnection);
}

}  // namespace gs
