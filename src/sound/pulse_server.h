// What Qt 6.4 does not tell about the sound server (PulseAudio, or PipeWire's Pulse server),
// asked of it directly: which input is the default, and when an input goes away. Qt marks no
// input as the default (its own default is merely the first listed) and does not report an
// input removed while it is being recorded.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>

struct pa_context;
struct pa_threaded_mainloop;

namespace gs {

// The name of the server's default source, which is the id Qt gives that input; empty when
// there is no server or it does not answer within timeoutMs. Never starts a server. Blocks
// for one round trip on a local socket.
QByteArray pulseDefaultSource(int timeoutMs = 500);

// Watches one source and reports once when it is removed or the server goes away.
class PulseSourceWatcher {
public:
    PulseSourceWatcher() = default;
    ~PulseSourceWatcher() { stop(); }
    PulseSourceWatcher(const PulseSourceWatcher&) = delete;
    PulseSourceWatcher& operator=(const PulseSourceWatcher&) = delete;

    // Starts watching the named source without waiting for the server; onGone runs on the
    // watcher's own thread and must not block. A source that is already gone is reported. A
    // server that cannot be reached reports nothing. Stops any earlier watch first.
    void watch(const QByteArray& source, std::function<void()> onGone);
    // Stops watching: when it returns, onGone is not running and will not run.
    void stop();

private:
    static void stateChanged(pa_context* context, void* self);
    static void eventArrived(pa_context* context, int type, std::uint32_t index, void* self);
    static void sourceFound(pa_context* context, const void* info, int eol, void* self);
    void gone();

    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    QByteArray source_;
    std::function<void()> onGone_;
    std::uint32_t index_ = UINT32_MAX;  // the source's index once known
    bool ready_ = false, reported_ = false;
};

}  // namespace gs
