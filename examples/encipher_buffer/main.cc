// Enciphers a buffer and deciphers it again. What that protects from, and what not, is told in
// vu/crypto.h.

#include <iostream>
#include <string>
#include <vector>

#include <vu/crypto.h>

using Bytes = std::vector<unsigned char>;

Bytes through(vu_crypto& engine, const Bytes& in) {
  const int length = static_cast<int>(in.size());
  Bytes out(static_cast<std::size_t>(engine.ciphersize(length)));
  const int written =
      engine.cipheranalyse(in.data(), length, out.data(), static_cast<int>(out.size()));
  out.resize(static_cast<std::size_t>(written));  // negative only when `out` is too small
  return out;
}

int main() {
  const std::string message = "reputation of shop.co.uk: 17";
  const unsigned char salt[] = {0x5e, 0xa5, 0x0f};
  constexpr int kAes256Cbc = 1;
  try {
    // The first engine of a process fixes the key for all: build it before there are threads, with
    // a pass phrase from elsewhere.
    vu_crypto encipher(1, kAes256Cbc, "a pass phrase", salt, sizeof salt, 100000);
    vu_crypto decipher(0, kAes256Cbc, nullptr, nullptr, 0, 0);
    std::cout << encipher.print_info() << '\n';

    Bytes secret = through(encipher, Bytes(message.begin(), message.end()));
    std::cout << printHexical(secret.data(), static_cast<int>(secret.size()), 16, false) << '\n';
    const Bytes plain = through(decipher, secret);
    std::cout << std::string(plain.begin(), plain.end()) << '\n';

    secret.pop_back();
    through(decipher, secret);
    return 1;
  } catch (const vu_exception& failure) {
    // The message that was cut short comes here: "Cipher Final failed", with OpenSSL's reason.
    std::cout << std::string(failure.what()).substr(0, 19) << '\n';
  }
}
