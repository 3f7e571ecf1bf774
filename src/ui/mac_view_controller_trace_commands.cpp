// GLIMMERSCAPE_TRACE=1: the end-to-end tests send commands on standard input, one a line, and
// read the answers on standard output.
//   ping   "pong", at once: the event loop is turning.
//   check  once no render or recolour is under way: the view, the picture's size, and hashes of
//          the picture on screen and of a fresh render of the same view in the same colours,
//          which must be equal.
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <memory>

#include "core/budget.h"
#include "core/frame.h"
#include "ui/mac_view_controller.h"
#include "ui/mandelbrot_view.h"

namespace gs {
namespace {

constexpr int kCheckRetryMs = 20;

std::uint64_t fnv1a(const std::uint8_t* bytes, std::size_t n) {
    std::uint64_t h = 14695981039346656037ull;
    for (std::size_t i = 0; i < n; ++i) h = (h ^ bytes[i]) * 1099511628211ull;
    return h;
}

}  // namespace

void MacViewController::listenForTraceCommands() {
    if (::fcntl(STDIN_FILENO, F_GETFD) == -1) return;  // no standard input at all
    auto* notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    auto pending = std::make_shared<QByteArray>();
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier, pending] {
        char bytes[256];
        const ssize_t n = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (n <= 0) {
            // The end of the input (or a closed one) stays readable forever: stop listening.
            if (n == 0 || (errno != EAGAIN && errno != EINTR)) notifier->setEnabled(false);
            return;
        }
        pending->append(bytes, n);
        for (qsizetype end = pending->indexOf('\n'); end >= 0; end = pending->indexOf('\n')) {
            const QByteArray line = pending->left(end).trimmed();
            pending->remove(0, end + 1);
            answerTraceCommand(line);
        }
    });
}

void MacViewController::answerTraceCommand(const QByteArray& command) {
    if (command == "ping") {
        std::printf("pong\n");
        std::fflush(stdout);
    } else if (command == "check") {
        answerPictureCheck();
    }
}

// Renders the current view afresh on this thread (the test waits for it) and compares.
void MacViewController::answerPictureCheck() {
    if (isRendering_ || recolorPending_ || !workersIdle()) {
        QTimer::singleShot(kCheckRetryMs, this, [this] { answerPictureCheck(); });
        return;
    }
    const Frame& shown = fractalView_->frame();
    const Viewport& v = history_.current();
    Frame fresh;
    renderFrame(mandelbrotRequest(v, shown.width, shown.height, colourInputs(settings_.tuning), iterationCeiling(v)),
                fresh);
    const auto hash = [](const Frame& f) { return fnv1a(f.pixels.data(), f.pixels.size()); };
    std::printf("check view=%s,%s,%s,%s size=%dx%d animating=%s auto=%s shown=%016llx fresh=%016llx\n",
                QByteArray::number(v.xmin, 'g', 17).constData(), QByteArray::number(v.xmax, 'g', 17).constData(),
                QByteArray::number(v.ymin, 'g', 17).constData(), QByteArray::number(v.ymax, 'g', 17).constData(),
                shown.width, shown.height, animateColorsEnabled_ ? "yes" : "no", autoEnabled_ ? "yes" : "no",
                static_cast<unsigned long long>(hash(shown)), static_cast<unsigned long long>(hash(fresh)));
    std::fflush(stdout);
}

}  // namespace gs
