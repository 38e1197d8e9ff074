#include "crypto/openssl.h"

#include <openssl/crypto.h>
#include <openssl/err.h>

bool vu::detail::openSslIsThere() {
  return OPENSSL_init_crypto(0, nullptr) == 1 && OSSL_LIB_CTX_get0_global_default() != nullptr;
}

std::string vu::detail::takeErrorText() {
  char text[120] = {};
  if (ERR_peek_error() != 0) {
    ERR_error_string_n(ERR_get_error(), text, sizeof text);
    ERR_clear_error();
  }
  return text;
}
