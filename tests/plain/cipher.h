// A message enciphered or deciphered by OpenSSL on a context made for it: what `vu_crypto` must
// agree with.

#ifndef VU_TESTS_PLAIN_CIPHER_H_
#define VU_TESTS_PLAIN_CIPHER_H_

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/err.h>
#include <openssl/evp.h>

#include "tests/support.h"
#include "vu/crypto.h"

namespace vu::test {

using Bytes = std::vector<Byte>;

inline std::string hex(const Byte* from, int count) { return printHexical(from, count, 0, false); }

/// What `cipheranalyse` returns, or its message, with all of `out` behind it: as it is specified,
/// on a context made for this one message.
inline std::string plainly(int mode, const EVP_CIPHER* cipher, std::string_view in, Bytes out) {
  const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context(EVP_CIPHER_CTX_new(),
                                                                           EVP_CIPHER_CTX_free);
  const int block = EVP_CIPHER_get_block_size(cipher);
  const int length = static_cast<int>(in.size());
  const int capacity = static_cast<int>(out.size());
  const int demanded =
      (length / block + 1 + (length >= block && length % block == 0 ? 1 : 0)) * block;
  const auto report = [&out](const std::string& result) {
    return result + " " + hex(out.data(), static_cast<int>(out.size()));
  };
  const auto error = [&](const char* what) {
    char text[120] = {};
    if (ERR_peek_error() != 0) ERR_error_string_n(ERR_get_error(), text, sizeof text);
    ERR_clear_error();
    return report(std::string(what) + text);
  };
  const Byte* const vector = vu_crypto::cipherkey_ + EVP_CIPHER_get_key_length(cipher);
  if (EVP_CipherInit_ex(context.get(), cipher, nullptr, vu_crypto::cipherkey_, vector, mode) != 1) {
    return error("Cipher Init failed : ");
  }
  if (demanded > capacity) return report(val2str(-demanded));
  std::fill(out.begin(), out.end(), Byte{0});
  int updated = 0;
  if (EVP_CipherUpdate(context.get(), out.data(), &updated, bytes(in), length) != 1) {
    return error("Cipher Update failed : ");
  }
  int finished = 0;
  if (EVP_CipherFinal_ex(context.get(), out.data() + updated, &finished) != 1) {
    return error("Cipher Final failed : ");
  }
  return report(val2str(updated + finished));
}

/// What an engine makes of a message, in as much room as it demands.
inline std::string process(vu_crypto& engine, std::string_view in) {
  const int length = static_cast<int>(in.size());
  std::string out(static_cast<std::size_t>(engine.ciphersize(length)), '?');
  const int written = engine.cipheranalyse(bytes(in), length, reinterpret_cast<Byte*>(out.data()),
                                           static_cast<int>(out.size()));
  return out.substr(0, static_cast<std::size_t>(written));
}

/// What `cipheranalyse` does, as `plainly` tells it.
inline std::string byEngine(vu_crypto& engine, std::string_view in, Bytes out) {
  const Bytes fence(16, 0xa5);
  const std::size_t capacity = out.size();
  out.insert(out.end(), fence.begin(), fence.end());
  std::string result;
  const std::string message = messageOf([&] {
    result = val2str(engine.cipheranalyse(bytes(in), static_cast<int>(in.size()), out.data(),
                                          static_cast<int>(capacity)));
  });
  const bool kept = std::equal(fence.begin(), fence.end(), out.end() - 16);
  return result + message + " " + hex(out.data(), static_cast<int>(capacity)) +
         (kept ? "" : " and bytes behind the buffer");
}

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_CIPHER_H_
