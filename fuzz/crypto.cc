// Messages of any bytes under any key, into buffers of any size: engines that live long against
// contexts made for one message, there and back, and buffers that overlap.
//
// Input: which cipher, how large the output is, where it lies, how many bytes of the key change;
// those bytes; then the message.

#include <algorithm>

#include <openssl/provider.h>

#include "fuzz/support.h"
#include "tests/plain/cipher.h"

namespace vu::fuzz {
namespace {

/// Engines of a cipher, and that cipher as OpenSSL has it.
struct Engines {
  explicit Engines(const EVP_CIPHER* cipher)
      : plain(cipher == EVP_rc4() ? fetchRc4() : cipher),
        encipher(1, cipher, "open sesame", test::bytes("salt"), 4, 1),
        decipher(0, cipher, "never used", nullptr, 0, 1) {}

  static const EVP_CIPHER* fetchRc4() {
    static OSSL_LIB_CTX* const own = OSSL_LIB_CTX_new();
    static OSSL_PROVIDER* const legacy = OSSL_PROVIDER_load(own, "legacy");
    static EVP_CIPHER* const rc4 = EVP_CIPHER_fetch(own, "RC4", nullptr);
    check(legacy != nullptr && rc4 != nullptr, "there is RC4");
    return rc4;
  }

  const EVP_CIPHER* plain;
  vu_crypto encipher;
  vu_crypto decipher;
};

/// The ciphers that give every message back; then those that fail, always or for some lengths.
constexpr const EVP_CIPHER* (*kCiphers[])() = {EVP_aes_256_cbc, EVP_rc4,         EVP_aes_128_cbc,
                                               EVP_aes_256_ctr, EVP_aes_256_ecb, EVP_chacha20,
                                               EVP_aes_256_gcm, EVP_aes_256_xts, EVP_aes_256_wrap,
                                               EVP_bf_cbc,      EVP_aes_256_ccm};
constexpr std::size_t kReversible = 6;

/// The engines of a cipher, with the key that the first of them has made.
Engines& enginesOf(std::size_t choice) {
  static std::unique_ptr<Engines> all[std::size(kCiphers)];
  if (all[choice] == nullptr) all[choice] = std::make_unique<Engines>(kCiphers[choice]());
  static const test::Bytes key(vu_crypto::cipherkey_, vu_crypto::cipherkey_ + 128);
  std::copy(key.begin(), key.end(), vu_crypto::cipherkey_);
  return *all[choice];
}

/// Input and output in one buffer, `apart` bytes from each other: refused where they share bytes,
/// with nothing changed.
void inOneBuffer(Engines& engines, const std::string& message, std::size_t apart, bool outFirst) {
  const int length = static_cast<int>(message.size());
  const auto capacity = static_cast<std::size_t>(engines.encipher.ciphersize(length));
  test::Bytes buffer(message.size() + capacity + apart, test::Byte{'?'});
  const std::size_t in = outFirst ? apart : 0;
  const std::size_t out = outFirst ? 0 : apart;
  std::copy(message.begin(), message.end(), buffer.begin() + static_cast<std::ptrdiff_t>(in));
  const test::Bytes before = buffer;
  const bool overlap = !message.empty() && in < out + capacity && out < in + message.size();
  const std::string refusal = test::messageOf([&] {
    return engines.encipher.cipheranalyse(&buffer[in], length, &buffer[out],
                                          static_cast<int>(capacity));
  });
  expectEqual(overlap ? "vu_crypto: Overlapping buffers" : "", refusal, "one buffer");
  if (overlap) check(buffer == before, "a refusal changes nothing");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t cipher = input.choice(std::size(kCiphers));
  Engines& engines = enginesOf(cipher);
  const std::size_t room = input.choice(4);
  const std::size_t apart = input.choice(80);
  for (std::size_t changes = input.choice(10); changes > 0; --changes) {
    vu_crypto::cipherkey_[input.choice(48)] ^= test::Byte{1};
  }
  const std::string message = input.rest();

  const auto demanded =
      static_cast<std::size_t>(engines.encipher.ciphersize(static_cast<int>(message.size())));
  const std::size_t capacities[] = {demanded, demanded + apart, demanded - 1,
                                    demanded > apart ? demanded - apart : 0};
  const test::Bytes out(capacities[room], test::Byte{'?'});
  const test::ExactCopy in(message);
  for (const int mode : {0, 1}) {
    expectEqual(test::plainly(mode, engines.plain, in.view(), out),
                test::byEngine(mode == 1 ? engines.encipher : engines.decipher, in.view(), out),
                mode == 1 ? "enciphered" : "deciphered");
  }
  if (cipher < kReversible) {
    const std::string enciphered = test::process(engines.encipher, message);
    const test::Bytes enough(enciphered.size() + 32);
    expectEqual(test::plainly(0, engines.plain, enciphered, enough),
                test::byEngine(engines.decipher, enciphered, enough), "deciphered");
    expectEqual(message, test::process(engines.decipher, enciphered), "there and back");
    inOneBuffer(engines, message, apart, room % 2 == 1);
  }
  return 0;
}

}  // namespace vu::fuzz
