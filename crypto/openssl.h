// OpenSSL as a whole: whether it is there, and what it says went wrong.

#ifndef VU_CRYPTO_OPENSSL_H_
#define VU_CRYPTO_OPENSSL_H_

#include <string>

namespace vu::detail {

/// False once OpenSSL has cleaned up at the process's end, and when it had no memory to start with,
/// for which it does not try twice: its calls would crash.
bool openSslIsThere();

/// The earliest error of this thread's queue as a text of at most 119 characters, or ""; the queue
/// is empty afterwards.
std::string takeErrorText();

}  // namespace vu::detail

#endif  // VU_CRYPTO_OPENSSL_H_
