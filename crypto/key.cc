// Key material of a caller's own.

#include "crypto/derive.h"
#include "crypto/openssl.h"

#include "vu/crypto.h"

vu_key::vu_key(const char* passphrase, const unsigned char* salt, int saltLength, int iterations) {
  static_assert(sizeof material_ == vu::detail::kMaterial, "room for what is derived");
  const auto refuse = [](const std::string& what) {
    throw vu_exception(vu_failure::cipher, "vu_key: " + what);
  };
  if (passphrase == nullptr || (salt == nullptr && saltLength > 0)) refuse("Null buffer");
  if (saltLength < 0) refuse("Invalid length [" + val2str(saltLength) + "]");
  if (iterations < 1) refuse("Invalid iterations [" + val2str(iterations) + "]");
  // PBKDF2 takes no salt for an empty one; OpenSSL wants a pointer to it.
  const unsigned char none = 0;
  if (!vu::detail::derive(passphrase, salt != nullptr ? salt : &none, saltLength, iterations,
                          material_)) {
    refuse("Derivation failed : " + vu::detail::takeErrorText());
  }
}

vu_key::~vu_key() { vu::detail::openSsl().OPENSSL_cleanse(material_, sizeof material_); }
