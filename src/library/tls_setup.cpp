#include "library/tls_setup.h"

#include <openssl/crypto.h>

namespace gs {

void initialiseTls() {
    // Whichever initialisation comes first decides whether OpenSSL cleans up at exit; the one
    // Qt's backend makes later (OPENSSL_init_ssl) then changes nothing.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
}

}  // namespace gs
