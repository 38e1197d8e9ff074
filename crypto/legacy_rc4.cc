#include "crypto/legacy_rc4.h"

#include "crypto/openssl.h"

namespace vu::detail {
namespace {

struct NotInstalled {};

/// Leaves the error queue as it was, unless it throws.
const EVP_CIPHER* fetchRc4() {
  const OpenSsl& ssl = openSsl();
  ssl.ERR_set_mark();
  OSSL_LIB_CTX* const context = ssl.OSSL_LIB_CTX_new();
  // Without a context of our own, the calls would work on the process's.
  OSSL_PROVIDER* const legacy =
      context != nullptr ? ssl.OSSL_PROVIDER_load(context, "legacy") : nullptr;
  OSSL_PROVIDER* const standard =
      legacy != nullptr ? ssl.OSSL_PROVIDER_load(context, "default") : nullptr;
  const EVP_CIPHER* const rc4 =
      standard != nullptr ? ssl.EVP_CIPHER_fetch(context, "RC4", nullptr) : nullptr;
  if (rc4 != nullptr) {
    ssl.ERR_pop_to_mark();
    return rc4;
  }
  ssl.ERR_clear_last_mark();
  if (standard != nullptr) ssl.OSSL_PROVIDER_unload(standard);
  if (legacy != nullptr) ssl.OSSL_PROVIDER_unload(legacy);
  ssl.OSSL_LIB_CTX_free(context);
  throw NotInstalled();
}

}  // namespace

const EVP_CIPHER* legacyRc4() {
  try {
    // An initialiser that throws is run again by the next call.
    static const EVP_CIPHER* const rc4 = fetchRc4();
    return rc4;
  } catch (const NotInstalled&) {
    return nullptr;
  }
}

}  // namespace vu::detail
