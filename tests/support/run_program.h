// Runs a program (ffmpeg, ffprobe) and returns what it wrote to its standard output.
//
// Not QProcess: Qt 6.4 starts its children with a raw clone(CLONE_VM | CLONE_VFORK), so the child
// runs in the parent's memory until it execs. ThreadSanitizer cannot see that clone (it turns
// vfork into fork, but a raw clone passes by it); the child's calls through the sanitizer's
// interceptors then corrupt the parent's happens-before state, and later accesses ordered by a
// plain std::atomic release and acquire are reported as races. posix_spawn is one the sanitizer
// handles, and the same everywhere else.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include <QByteArray>
#include <QElapsedTimer>
#include <QStringList>
#include <string>
#include <vector>

extern char** environ;

namespace gs::test {

// Standard output in full, or whatever had come when the program was stopped after timeoutMs;
// standard error is dropped. Empty if the program cannot be started.
inline QByteArray runProgram(const QString& program, const QStringList& arguments, int timeoutMs = 60000) {
    std::vector<std::string> words{program.toStdString()};
    for (const QString& a : arguments) words.push_back(a.toStdString());
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);

    int out[2];
    if (pipe(out) != 0) return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    posix_spawn_file_actions_addclose(&actions, out[1]);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);

    QByteArray output;
    QElapsedTimer clock;
    clock.start();
    char chunk[65536];
    while (spawned == 0) {
        const qint64 left = timeoutMs - clock.elapsed();
        pollfd ready{out[0], POLLIN, 0};
        const int polled = left > 0 ? poll(&ready, 1, int(left)) : 0;
        if (polled < 0 && errno == EINTR) continue;
        if (polled <= 0) {
            kill(pid, SIGKILL);
            break;
        }
        const ssize_t n = read(out[0], chunk, sizeof chunk);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        output.append(chunk, n);
    }
    close(out[0]);
    if (spawned == 0) waitpid(pid, nullptr, 0);
    return output;
}

}  // namespace gs::test
