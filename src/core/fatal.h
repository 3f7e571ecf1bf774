// Conditions the program treats as fatal by design (overflowing counters and sizes, non-finite
// values where an integer is required): say what happened and stop.
#pragma once

namespace gs {
[[noreturn]] void fatal(const char* what);
}
