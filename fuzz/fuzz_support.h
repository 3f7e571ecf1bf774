// Shared by the fuzz drivers: the input as Qt text, and the stop for a broken invariant.
#pragma once

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace gs::fuzz {

inline QByteArray bytes(const std::uint8_t* data, std::size_t size) {
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

// A property that must hold for every input failed: report it and let libFuzzer keep the input.
[[noreturn]] inline void broken(const char* what) {
    std::fprintf(stderr, "invariant broken: %s\n", what);
    std::abort();
}

}  // namespace gs::fuzz
