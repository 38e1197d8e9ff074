#include "crypto/derive.h"

#include <cstring>
#include <memory>

#include "crypto/openssl.h"

namespace vu::detail {
namespace {

/// Does `act` in a library context made for it, with OpenSSL's own algorithms.
template <typename Action>
bool inOwnContext(Action act) {
  const OpenSsl& ssl = openSsl();
  const std::unique_ptr<OSSL_LIB_CTX, void (*)(OSSL_LIB_CTX*)> own(ssl.OSSL_LIB_CTX_new(),
                                                                   ssl.OSSL_LIB_CTX_free);
  if (own == nullptr) return false;
  const std::unique_ptr<OSSL_PROVIDER, int (*)(OSSL_PROVIDER*)> standard(
      ssl.OSSL_PROVIDER_load(own.get(), "default"), ssl.OSSL_PROVIDER_unload);
  if (standard == nullptr) return false;
  OSSL_LIB_CTX* const before = ssl.OSSL_LIB_CTX_set0_default(own.get());  // this thread's alone
  const bool good = act();
  ssl.OSSL_LIB_CTX_set0_default(before);
  return good;
}

}  // namespace

bool derive(const char* passphrase, const unsigned char* salt, int saltLength, int iterations,
            unsigned char* material) {
  if (saltLength < 0 || iterations < 1 || !openSslIsThere()) return false;
  const OpenSsl& ssl = openSsl();
  // One that fails on the way has written part of it, which must not become a key.
  unsigned char made[kMaterial] = {};
  const auto act = [&] {
    return ssl.PKCS5_PBKDF2_HMAC_SHA1(passphrase, static_cast<int>(std::strlen(passphrase)), salt,
                                      saltLength, iterations, kMaterial, made) == 1;
  };
  ssl.ERR_set_mark();
  const bool good = act() || inOwnContext(act);
  good ? ssl.ERR_pop_to_mark() : ssl.ERR_clear_last_mark();
  if (good) std::memcpy(material, made, sizeof made);
  ssl.OPENSSL_cleanse(made, sizeof made);
  return good;
}

}  // namespace vu::detail
