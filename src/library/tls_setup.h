// OpenSSL, set up before Qt's network loads its TLS backend.
//
// Left to itself, OpenSSL frees its global and per-thread state from an atexit handler, which
// runs on the main thread while Qt's network thread may still be winding down; that thread's
// own end then frees its per-thread state a second time, and the program dies of a double free
// as it quits. Set up here first, OpenSSL registers no such handler: each thread's state goes
// with the thread, and what remains at exit goes with the process.
#pragma once

namespace gs {

// Call before the first TLS connection, certificate or configuration (at the top of main()).
// Safe to call more than once; only the first call counts, and only before Qt's.
void initialiseTls();

}  // namespace gs
