#include "crypto/openssl.h"

bool vu::detail::openSslIsThere() {
  const OpenSsl& ssl = openSsl();
  return ssl.OPENSSL_init_crypto(0, nullptr) == 1 &&
         ssl.OSSL_LIB_CTX_get0_global_default() != nullptr;
}

std::string vu::detail::takeErrorText() {
  const OpenSsl& ssl = openSsl();
  char text[120] = {};
  if (ssl.ERR_peek_error() != 0) {
    ssl.ERR_error_string_n(ssl.ERR_get_error(), text, sizeof text);
    ssl.ERR_clear_error();
  }
  return text;
}
