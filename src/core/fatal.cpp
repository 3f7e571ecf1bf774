#include "fatal.h"

#include <cstdio>
#include <cstdlib>

namespace gs {
void fatal(const char* what) {
    std::fprintf(stderr, "glimmerscape: fatal error: %s\n", what);
    std::abort();
}
}  // namespace gs
