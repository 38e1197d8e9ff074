// A message is one set-up, one update and one final call. What a set-up costs is the key schedule
// and the search for the cipher's code, so of the service's two ciphers a context keeps what it can
// while the key stays the same, and only what a message changes is set again.

#include "vu/crypto.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "crypto/derive.h"
#include "crypto/legacy_rc4.h"
#include "crypto/openssl.h"

using vu::detail::kMaterial;
using vu::detail::OpenSsl;
using vu::detail::openSsl;

unsigned char vu_crypto::cipherkey_[256];

namespace {

using Byte = unsigned char;

// The built-in texts are put together a character at a time so that the library's file does not
// show them to everybody who looks for texts in it. They are no secret all the same. They never
// change: data enciphered under them would be lost.
constexpr int kBuiltInSaltLength = 11;

char unseen(char c) {
  volatile char copy = c;  // Keeps the compiler from joining the characters to a constant.
  return copy;
}

struct BuiltIn {
  const char passphrase[11] = {unseen('V'), unseen('u'), unseen('7'), unseen('-'),
                               unseen('q'), unseen('K'), unseen('2'), unseen('w'),
                               unseen('Z'), unseen('9'), '\0'};
  const char salt[kBuiltInSaltLength + 1] = {unseen('r'), unseen('E'), unseen('p'), unseen('u'),
                                             unseen('_'), unseen('4'), unseen('T'), unseen('a'),
                                             unseen('L'), unseen('e'), unseen('!'), '\0'};
};

bool overlap(const unsigned char* a, int aLength, const unsigned char* b, int bLength) {
  const auto aBegin = reinterpret_cast<std::uintptr_t>(a);
  const auto bBegin = reinterpret_cast<std::uintptr_t>(b);
  return aLength > 0 && aBegin < bBegin + static_cast<unsigned int>(bLength) &&
         bBegin < aBegin + static_cast<unsigned int>(aLength);
}

void freeContext(EVP_CIPHER_CTX* context) { openSsl().EVP_CIPHER_CTX_free(context); }

void fillWithZeros(unsigned char* out, int from, int capacity) {
  std::memset(out + from, 0, static_cast<std::size_t>(capacity - from));
}

}  // namespace

const EVP_CIPHER* CipherLookup::operator()(unsigned short number) const {
  if (number == 1) return openSsl().EVP_aes_256_cbc();
  return number == 2 ? openSsl().EVP_rc4() : nullptr;
}

vu_crypto::vu_crypto(int mode, const EVP_CIPHER* cipher, const char* passphrase,
                     const unsigned char* salt, int saltLength, int iterations)
    : mode_(mode), ctx_(nullptr, freeContext), cipher_(cipher) {
  initializeCrypto(passphrase, salt, saltLength, iterations);
}

vu_crypto::vu_crypto(int mode, int cipherNumber, const char* passphrase, const unsigned char* salt,
                     int saltLength, int iterations)
    : vu_crypto(mode, CipherLookup()(static_cast<unsigned short>(cipherNumber)), passphrase, salt,
                saltLength, iterations) {}

vu_crypto::vu_crypto(int mode, const EVP_CIPHER* cipher, std::shared_ptr<const vu_key> key)
    : mode_(mode), ctx_(nullptr, freeContext), cipher_(cipher), key_(std::move(key)) {
  if (key_ == nullptr) throw vu_exception(vu_failure::cipher, "vu_crypto: Null key");
  initializeCrypto(nullptr, nullptr, 0, 0);
}

vu_crypto::~vu_crypto() { cleanCipher(); }

void vu_crypto::initializeCrypto(const char* passphrase, const unsigned char* salt, int saltLength,
                                 int iterations) {
  if (mode_ != 0 && mode_ != 1) {
    throw vu_exception(vu_failure::cipher, "Unknown cryptic mode: 1 or 0");
  }
  const OpenSsl& ssl = openSsl();
  if (key_ == nullptr && !hasKey()) {
    const BuiltIn builtIn;
    // That it may fail is for hasKey to tell; the caller's error queue is left as it was.
    ssl.ERR_set_mark();
    vu::detail::derive(passphrase != nullptr ? passphrase : builtIn.passphrase,
                       salt != nullptr ? salt : reinterpret_cast<const Byte*>(builtIn.salt),
                       salt != nullptr ? saltLength : kBuiltInSaltLength, iterations, cipherkey_);
    ssl.ERR_pop_to_mark();
  }
  if (cipher_ == nullptr) cipher_ = ssl.EVP_aes_256_cbc();
  if (ctx_ != nullptr) cleanCipher();
  if (ctx_ == nullptr) ctx_.reset(ssl.EVP_CIPHER_CTX_new());
  if (ctx_ == nullptr) throw std::bad_alloc();
}

bool vu_crypto::hasKey() {
  return std::any_of(cipherkey_, cipherkey_ + kMaterial, [](Byte byte) { return byte != 0; });
}

void vu_crypto::cleanCipher() {
  const OpenSsl& ssl = openSsl();
  ready_ = false;
  ssl.EVP_CIPHER_CTX_reset(ctx_.get());
  ssl.OPENSSL_cleanse(lastKey_, sizeof lastKey_);
}

int vu_crypto::ciphersize(int length) const {
  const int block = std::max(openSsl().EVP_CIPHER_get_block_size(cipher_), 1);
  long long blocks = length / block;
  if (blocks != 0 && length % block == 0) ++blocks;
  const long long capacity = (blocks + 1) * block;
  if (length < 0 || capacity > INT_MAX) {
    throw vu_exception(vu_failure::cipher, "vu_crypto: Invalid length [" + val2str(length) + "]");
  }
  return static_cast<int>(capacity);
}

/// Makes ctx_ ready for a message: afresh, but where less comes to the same. Of the default cipher
/// nothing but the initialisation vector changes from message to message, of RC4 nothing but what
/// the key sets. Any other may keep more, as one that authenticates its messages does.
void vu_crypto::setUp() {
  const OpenSsl& ssl = openSsl();
  const Byte* const key = material();
  const Byte* const vector = key + ssl.EVP_CIPHER_get_key_length(cipher_);
  const bool aes = cipher_ == ssl.EVP_aes_256_cbc();
  const bool rc4 = cipher_ == ssl.EVP_rc4();
  const bool keepsKey = ready_ && aes && std::memcmp(lastKey_, key, sizeof lastKey_) == 0;
  const EVP_CIPHER* cipher = nullptr;
  if (!ready_ || !(aes || rc4)) {
    if (vu::detail::openSslIsThere()) cipher = rc4 ? vu::detail::legacyRc4() : cipher_;
    if (cipher == nullptr) fail("Cipher Init failed : ");
  }
  if (ssl.EVP_CipherInit_ex(ctx_.get(), cipher, nullptr, keepsKey ? nullptr : key, vector, mode_) !=
      1) {
    fail("Cipher Init failed : ");
  }
  std::memcpy(lastKey_, key, sizeof lastKey_);
  ready_ = true;
}

/// Throws with OpenSSL's text. The context may be anything now, so the next message begins afresh.
void vu_crypto::fail(const char* what) {
  ready_ = false;
  throw vu_exception(vu_failure::cipher, what + vu::detail::takeErrorText());
}

int vu_crypto::cipheranalyse(const unsigned char* in, int inLength, unsigned char* out,
                             int outCapacity) {
  const int demanded = ciphersize(inLength);
  setUp();
  if (demanded > outCapacity) return -demanded;
  if (out == nullptr || (in == nullptr && inLength > 0)) {
    throw vu_exception(vu_failure::cipher, "vu_crypto: Null buffer");
  }
  if (overlap(in, inLength, out, outCapacity)) {
    throw vu_exception(vu_failure::cipher, "vu_crypto: Overlapping buffers");
  }

  const OpenSsl& ssl = openSsl();
  // The update of the default cipher cannot fail and writes just what it reports: to fill what is
  // left afterwards saves writing the whole of `out` twice.
  const bool fillsLater = cipher_ == ssl.EVP_aes_256_cbc();
  if (!fillsLater) fillWithZeros(out, 0, outCapacity);
  int updated = 0;
  if (ssl.EVP_CipherUpdate(ctx_.get(), out, &updated, in, inLength) != 1) {
    fail("Cipher Update failed : ");
  }
  int finished = 0;
  const bool good = ssl.EVP_CipherFinal_ex(ctx_.get(), out + updated, &finished) == 1;
  if (fillsLater) fillWithZeros(out, updated + (good ? finished : 0), outCapacity);
  if (!good) fail("Cipher Final failed : ");
  return updated + finished;
}

std::string vu_crypto::print_info() const {
  const OpenSsl& ssl = openSsl();
  int block = ssl.EVP_CIPHER_get_block_size(cipher_);
  int key = ssl.EVP_CIPHER_get_key_length(cipher_);
  int vector = ssl.EVP_CIPHER_get_iv_length(cipher_);
  if (ssl.EVP_CIPHER_CTX_get0_cipher(ctx_.get()) != nullptr) {
    block = ssl.EVP_CIPHER_CTX_get_block_size(ctx_.get());
    key = ssl.EVP_CIPHER_CTX_get_key_length(ctx_.get());
    vector = ssl.EVP_CIPHER_CTX_get_iv_length(ctx_.get());
  }
  return "Block size [" + val2str(block) + "] key length [" + val2str(key) +
         "] initialisation vector length [" + val2str(vector) + "]";
}
