#include "crypto/derive.h"

#include <cstring>
#include <memory>

#include "crypto/openssl.h"
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

namespace vu::detail {
namespace {

/// Does `act` in a library context made for it, with OpenSSL's own algorithms.
template <typename Action>
bool inOwnContext(Action act) {
  const std::unique_ptr<OSSL_LIB_CTX, void (*)(OSSL_LIB_CTX*)> own(OSSL_LIB_CTX_new(),
                                                                   OSSL_LIB_CTX_free);
  if (own == nullptr) return false;
  const std::unique_ptr<OSSL_PROVIDER, int (*)(OSSL_PROVIDER*)> standard(
      OSSL_PROVIDER_load(own.get(), "default"), OSSL_PROVIDER_unload);
  if (standard == nullptr) return false;
  OSSL_LIB_CTX* const before = OSSL_LIB_CTX_set0_default(own.get());  // this thread's alone
  const bool good = act();
  OSSL_LIB_CTX_set0_default(before);
  return good;
}

}  // namespace

bool derive(const char* passphrase, const unsigned char* salt, int saltLength, int iterations,
            unsigned char* material) {
  if (saltLength < 0 || iterations < 1 || !openSslIsThere()) return false;
  // One that fails on the way has written part of it, which must not become a key.
  unsigned char made[kMaterial] = {};
  const auto act = [&] {
    return PKCS5_PBKDF2_HMAC_SHA1(passphrase, static_cast<int>(std::strlen(passphrase)), salt,
                                  saltLength, iterations, kMaterial, made) == 1;
  };
  ERR_set_mark();
  const bool good = act() || inOwnContext(act);
  good ? ERR_pop_to_mark() : ERR_clear_last_mark();
  if (good) std::memcpy(material, made, sizeof made);
  OPENSSL_cleanse(made, sizeof made);
  return good;
}

}  // namespace vu::detail
