#include "sound/pulse_server.h"

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/mainloop.h>
#include <pulse/subscribe.h>
#include <pulse/thread-mainloop.h>

#include <QElapsedTimer>

namespace gs {

namespace {

constexpr char kClientName[] = "glimmerscape";

struct DefaultQuery {
    bool done = false;
    QByteArray source;
};

void serverInfo(pa_context*, const pa_server_info* info, void* data) {
    auto* query = static_cast<DefaultQuery*>(data);
    if (info && info->default_source_name) query->source = info->default_source_name;
    query->done = true;
}

// One turn of the loop, waiting at most the time left.
bool turn(pa_mainloop* loop, const QElapsedTimer& clock, int timeoutMs) {
    const qint64 left = timeoutMs - clock.elapsed();
    if (left <= 0) return false;
    return pa_mainloop_prepare(loop, static_cast<int>(left * 1000)) >= 0 &&
           pa_mainloop_poll(loop) >= 0 && pa_mainloop_dispatch(loop) >= 0;
}

QByteArray askDefaultSource(pa_mainloop* loop, pa_context* context, int timeoutMs) {
    QElapsedTimer clock;
    clock.start();
    if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) return {};
    while (pa_context_get_state(context) != PA_CONTEXT_READY) {
        if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(context)) || !turn(loop, clock, timeoutMs))
            return {};
    }
    DefaultQuery query;
    pa_operation* op = pa_context_get_server_info(context, serverInfo, &query);
    if (!op) return {};
    while (!query.done && turn(loop, clock, timeoutMs)) {
    }
    pa_operation_cancel(op);  // harmless when done; keeps a late answer out of query
    pa_operation_unref(op);
    return query.source;
}

}  // namespace

QByteArray pulseDefaultSource(int timeoutMs) {
    pa_mainloop* loop = pa_mainloop_new();
    if (!loop) return {};
    QByteArray source;
    if (pa_context* context = pa_context_new(pa_mainloop_get_api(loop), kClientName)) {
        source = askDefaultSource(loop, context, timeoutMs);
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
    pa_mainloop_free(loop);
    return source;
}

void PulseSourceWatcher::watch(const QByteArray& source, std::function<void()> onGone) {
    stop();
    source_ = source;
    onGone_ = std::move(onGone);
    index_ = UINT32_MAX;
    ready_ = reported_ = false;
    loop_ = pa_threaded_mainloop_new();
    if (!loop_) return;
    context_ = pa_context_new(pa_threaded_mainloop_get_api(loop_), kClientName);
    if (!context_) return stop();
    pa_context_set_state_callback(context_, &PulseSourceWatcher::stateChanged, this);
    pa_context_set_subscribe_callback(
        context_,
        [](pa_context* c, pa_subscription_event_type_t type, std::uint32_t index, void* self) {
            eventArrived(c, static_cast<int>(type), index, self);
        },
        this);
    if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 ||
        pa_threaded_mainloop_start(loop_) < 0)
        stop();
}

void PulseSourceWatcher::stop() {
    if (loop_) pa_threaded_mainloop_stop(loop_);
    onGone_ = nullptr;
    if (context_) {
        // Disconnecting changes the state: nothing may report that.
        pa_context_set_state_callback(context_, nullptr, nullptr);
        pa_context_set_subscribe_callback(context_, nullptr, nullptr);
        pa_context_disconnect(context_);
        pa_context_unref(context_);
        context_ = nullptr;
    }
    if (loop_) pa_threaded_mainloop_free(loop_);
    loop_ = nullptr;
}

// Ready: subscribe to source events first, then look the source up, so a removal in between
// shows as a failed lookup. A connection lost after that means the server went away.
void PulseSourceWatcher::stateChanged(pa_context* context, void* data) {
    auto* self = static_cast<PulseSourceWatcher*>(data);
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY) {
        self->ready_ = true;
        if (pa_operation* op = pa_context_subscribe(context, PA_SUBSCRIPTION_MASK_SOURCE, nullptr, nullptr))
            pa_operation_unref(op);
        pa_operation* lookup = pa_context_get_source_info_by_name(
            context, self->source_.constData(),
            [](pa_context* c, const pa_source_info* info, int eol, void* s) { sourceFound(c, info, eol, s); },
            self);
        if (lookup) pa_operation_unref(lookup);
    } else if (!PA_CONTEXT_IS_GOOD(state) && self->ready_) {
        self->gone();
    }
}

void PulseSourceWatcher::sourceFound(pa_context*, const void* info, int eol, void* data) {
    auto* self = static_cast<PulseSourceWatcher*>(data);
    if (info)
        self->index_ = static_cast<const pa_source_info*>(info)->index;
    else if (eol < 0)
        self->gone();  // no such source (any more)
}

void PulseSourceWatcher::eventArrived(pa_context*, int type, std::uint32_t index, void* data) {
    auto* self = static_cast<PulseSourceWatcher*>(data);
    const auto event = static_cast<unsigned>(type);
    if ((event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) == PA_SUBSCRIPTION_EVENT_SOURCE &&
        (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_REMOVE &&
        index == self->index_)
        self->gone();
}

void PulseSourceWatcher::gone() {
    if (reported_ || !onGone_) return;
    reported_ = true;
    onGone_();
}

}  // namespace gs
