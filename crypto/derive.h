// Key material from a pass phrase.

#ifndef VU_CRYPTO_DERIVE_H_
#define VU_CRYPTO_DERIVE_H_

namespace vu::detail {

constexpr int kMaterial = 128;  // bytes that a derivation gives: keys and initialisation vectors

/// Derives `material`, of kMaterial bytes, with PBKDF2-HMAC-SHA1. False leaves it untouched, with
/// OpenSSL's reason, if it has one, added to this thread's error queue. Where the process's default
/// context cannot derive, such as one whose configuration loads the legacy provider alone, our own
/// does.
bool derive(const char* passphrase, const unsigned char* salt, int saltLength, int iterations,
            unsigned char* material);

}  // namespace vu::detail

#endif  // VU_CRYPTO_DERIVE_H_
