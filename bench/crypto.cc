// Enciphering and deciphering messages, beside OpenSSL told directly: once as every message needs
// it (set up, update, final), once as the bare work on the bytes, which is the limit.

#include "vu/crypto.h"

#include <memory>

#include <openssl/evp.h>

#include "bench/support.h"

namespace vu::bench {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kEncipher = 1;
constexpr int kDecipher = 0;
constexpr int kBlock = 16;
constexpr int kKey = 32;

Bytes makeMessage(std::size_t length) {
  Bytes message(length);
  for (std::size_t i = 0; i < length; ++i)
    message[i] = static_cast<unsigned char>(i * 31 + i / 256);
  return message;
}

vu_crypto makeEngine(int mode) { return {mode, nullptr, "a pass phrase", nullptr, 0, 1000}; }

/// A context of OpenSSL under the key that our engines have.
class Evp {
 public:
  explicit Evp(int mode) : mode_(mode), context_(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free) {
    setUp();
  }

  void setUp() {
    require(EVP_CipherInit_ex(context_.get(), EVP_aes_256_cbc(), nullptr, vu_crypto::cipherkey_,
                              vu_crypto::cipherkey_ + kKey, mode_) == 1,
            "OpenSSL cannot be set up");
  }
  int update(const Bytes& in, Bytes& out) {
    int length = 0;
    EVP_CipherUpdate(context_.get(), out.data(), &length, in.data(), static_cast<int>(in.size()));
    return length;
  }
  /// A message of its own.
  int message(const Bytes& in, Bytes& out) {
    setUp();
    const int length = update(in, out);
    int rest = 0;
    EVP_CipherFinal_ex(context_.get(), out.data() + length, &rest);
    return length + rest;
  }

 private:
  int mode_;
  std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context_;
};

/// The input of one benchmark: the message, or what it is enciphered.
Bytes inputOf(int mode, const benchmark::State& state) {
  static const vu_crypto firstOfTheProcess = makeEngine(kEncipher);
  Bytes message = makeMessage(static_cast<std::size_t>(state.range(0)));
  if (mode == kEncipher) return message;
  Bytes enciphered(message.size() + kBlock);
  enciphered.resize(static_cast<std::size_t>(Evp(kEncipher).message(message, enciphered)));
  return enciphered;
}

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <int mode>
void ours(benchmark::State& state) {
  const Bytes in = inputOf(mode, state);
  vu_crypto engine = makeEngine(mode);
  Bytes out(static_cast<std::size_t>(engine.ciphersize(static_cast<int>(in.size()))));
  Bytes expected(out.size() + kBlock);
  expected.resize(static_cast<std::size_t>(Evp(mode).message(in, expected)));
  const auto run = [&] {
    return engine.cipheranalyse(in.data(), static_cast<int>(in.size()), out.data(),
                                static_cast<int>(out.size()));
  };
  require(run() == static_cast<int>(expected.size()), "a message of another length than OpenSSL's");
  require(std::equal(expected.begin(), expected.end(), out.begin()),
          "another message than OpenSSL's");
  measureCall(state, run);
  countBytes(state);
}

template <int mode>
void evpMessage(benchmark::State& state) {
  const Bytes in = inputOf(mode, state);
  Evp evp(mode);
  Bytes out(in.size() + kBlock);
  const std::int64_t expected =
      mode == kDecipher ? state.range(0) : (state.range(0) / kBlock + 1) * kBlock;
  require(evp.message(in, out) == expected, "OpenSSL fails");
  measureCall(state, [&] { return evp.message(in, out); });
  countBytes(state);
}

template <int mode>
void evpUpdate(benchmark::State& state) {
  const Bytes in = inputOf(mode, state);
  Evp evp(mode);
  Bytes out(in.size() + kBlock);
  require(evp.update(in, out) > 0, "OpenSSL fails");
  measureCall(state, [&] { return evp.update(in, out); });
  countBytes(state);
}

/// A message under another key, or one that somebody has cut: the refusal must not cost more than
/// reading the message.
void refused(benchmark::State& state) {
  Bytes in = inputOf(kDecipher, state);
  in.back() ^= 1U;
  vu_crypto engine = makeEngine(kDecipher);
  Bytes out(static_cast<std::size_t>(engine.ciphersize(static_cast<int>(in.size()))));
  const auto isRefused = [&] {
    try {
      static_cast<void>(engine.cipheranalyse(in.data(), static_cast<int>(in.size()), out.data(),
                                             static_cast<int>(out.size())));
    } catch (const vu_exception&) {
      return true;
    }
    return false;
  };
  require(isRefused(), "a changed message is accepted");
  measureCall(state, isRefused);
  countBytes(state);
}

/// An engine that is made for one message of 64 bytes.
template <int number>
void engineForOne(benchmark::State& state) {
  static const vu_crypto firstOfTheProcess = makeEngine(kEncipher);
  const Bytes in = makeMessage(64);
  Bytes out(in.size() + 2 * kBlock);
  const auto run = [&] {
    vu_crypto engine(kEncipher, number, nullptr, nullptr, 0, 1000);
    return engine.cipheranalyse(in.data(), static_cast<int>(in.size()), out.data(),
                                static_cast<int>(out.size()));
  };
  require(run() == (number == 1 ? 64 + kBlock : 64), "a message of another length");
  measureCall(state, run);
}

void addSizes(const char* name, void (*job)(benchmark::State&)) {
  auto* const sizes = add(name, job);
  for (const int size : {16, 64, 256, 1024, 4096, 16384, 65536, 1 << 20}) sizes->Arg(size);
}

}  // namespace

void registerCrypto() {
  addSizes("crypto/encipher/vu", ours<kEncipher>);
  addSizes("crypto/encipher/evp-message", evpMessage<kEncipher>);
  addSizes("crypto/encipher/evp-update", evpUpdate<kEncipher>);
  addSizes("crypto/decipher/vu", ours<kDecipher>);
  addSizes("crypto/decipher/evp-message", evpMessage<kDecipher>);
  addSizes("crypto/decipher/evp-update", evpUpdate<kDecipher>);
  add("crypto/refused/vu", refused)->Arg(16384);
  add("crypto/engine/aes", engineForOne<1>);
  add("crypto/engine/rc4", engineForOne<2>);
}

}  // namespace vu::bench
