// RC4 where OpenSSL 3 has put it: in the legacy provider, which a process has to ask for.

#ifndef VU_CRYPTO_LEGACY_RC4_H_
#define VU_CRYPTO_LEGACY_RC4_H_

#include <openssl/types.h>

namespace vu::detail {

/// RC4 from a library context of our own, made when it is first needed and kept until the process
/// ends: an engine that is destroyed late still needs it. Null when the provider is not installed,
/// with the reason in this thread's error queue; the next call tries again. Any thread may call.
const EVP_CIPHER* legacyRc4();

}  // namespace vu::detail

#endif  // VU_CRYPTO_LEGACY_RC4_H_
