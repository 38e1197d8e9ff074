// Enciphering and deciphering whole buffers, under one key for the process or keys of the caller's
// own; and the keys that records of domains are found by.
//
//   vu_crypto engine(1, 0, passphrase, salt, saltLength, 100000);  // encipher, AES-256-CBC
//   std::vector<unsigned char> out(engine.ciphersize(length));
//   const int written = engine.cipheranalyse(in, length, out.data(), int(out.size()));
//   out.resize(written);
//
//   const auto theirs = std::make_shared<const vu_key>("a pass phrase", salt, saltLength, 100000);
//   vu_crypto fromPeer(0, nullptr, theirs);              // decipher, AES-256-CBC, under that key
//
//   const vu_data<unsigned char*, 20> row(vu_domainKey(found.domain).data(), record);
//
// What this is for: the processes of one service that keep data from casual eyes and from each
// other's formats. What it is not: protection of messages against somebody who can watch or change
// them. A pass phrase fixes key and initialisation vector of every message, that of a process's
// first engine for all engines without a key of their own; equal messages give equal ciphertexts;
// nothing authenticates a ciphertext, so changed data may decipher
// to something else; RC4 is broken, and its engines repeat one key stream, so two ciphertexts
// reveal the difference of their messages; the built-in pass phrase and salt are the same
// everywhere. New designs take an authenticated cipher with a fresh nonce a message (AES-256-GCM,
// or libsodium's secretbox), with a key of their own.
//
// Threads:  the first engine of a process must not be built beside another one; later ones may be,
//           and those with a key of their own. An engine serves one thread at a time, a key any
//           number of engines in any threads.
// Errors:   vu_exception, and a negative result for a buffer that is too small. A failure in
//           OpenSSL empties the calling thread's OpenSSL error queue; nothing else disturbs
//           OpenSSL's state: RC4 lives in a library context of our own, kept until the process
//           ends.
// Loading:  a shared libvu loads OpenSSL's libcrypto when a key, an engine, a domain's key or a
//           cipher's number first needs it, and keeps it; a process that changes its root makes one
//           before. Where it cannot be loaded, each of these throws vu_exception "vu_crypto: Cannot
//           load libcrypto [" + the loader's reason + "]", and the next one tries again.
// Lifetime: an engine keeps no pointer to what it is given, but for a cipher of the caller's own,
//           and shares the key that it is given.

#ifndef VU_CRYPTO_H_
#define VU_CRYPTO_H_

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "vu/export.h"
#include "vu/foundation.h"

/// OpenSSL's own name, here so that users of this header need not have OpenSSL's.
using EVP_CIPHER = struct evp_cipher_st;
/// OpenSSL's own name, as above.
using EVP_CIPHER_CTX = struct evp_cipher_ctx_st;

/// What the service's cipher numbers mean: 1 is EVP_aes_256_cbc(), 2 is EVP_rc4(), any other null.
class VU_EXPORT CipherLookup {
 public:
  /// The cipher of a number, owned by OpenSSL; null for numbers without one.
  const EVP_CIPHER* operator()(unsigned short number) const;
};

/// Key material that is not the process's, for engines that are given it: that of a second peer, or
/// the next one. To renew a key, build engines with the new one; those that were built with the old
/// one keep it until they go. It is wiped at its end, never copied, and never changes.
class VU_EXPORT vu_key {
 public:
  /// Derives the material as the first engine of a process does: with PBKDF2-HMAC-SHA1 (RFC 8018)
  /// from `passphrase` (NUL-terminated), `saltLength` bytes at `salt` (null for none), and
  /// `iterations`; as slow as these are many. There is no built-in pass phrase here.
  ///
  /// Throws vu_exception:
  ///   "vu_key: Null buffer"                            for a null pointer to bytes;
  ///   "vu_key: Invalid length [" + saltLength + "]"    when that is negative;
  ///   "vu_key: Invalid iterations [" + iterations + "]"  when these are less than 1;
  ///   "vu_key: Derivation failed : " + text            text being what OpenSSL says, if anything.
  vu_key(const char* passphrase, const unsigned char* salt, int saltLength, int iterations);
  vu_key(const vu_key&) = delete;
  vu_key& operator=(const vu_key&) = delete;
  ~vu_key();

  /// The material, 128 bytes; laid out as `vu_crypto::cipherkey_`.
  [[nodiscard]] const unsigned char* bytes() const { return material_; }

 private:
  unsigned char material_[128];
};

/// An engine of one direction and one cipher.
class VU_EXPORT vu_crypto {
 public:
  /// `mode` is 1 to encipher, 0 to decipher; a null `cipher` is AES-256-CBC, any other is used as
  /// it is. The first engine of a process derives the key material with PBKDF2-HMAC-SHA1 (RFC 8018)
  /// from `passphrase` (NUL-terminated), `saltLength` bytes at `salt`, and `iterations`; a null
  /// pass phrase or salt means the built-in one. For every later engine these four have no effect.
  /// A derivation that fails, such as one of no iterations or with a negative length of the salt,
  /// is not reported: the material is all zero then, a key that everybody has, and the next engine
  /// tries again. Ask `hasKey`.
  ///
  /// Throws vu_exception "Unknown cryptic mode: 1 or 0" for any other `mode`, and std::bad_alloc;
  /// no engine exists then.
  vu_crypto(int mode, const EVP_CIPHER* cipher, const char* passphrase, const unsigned char* salt,
            int saltLength, int iterations);
  /// The same with the service's number of the cipher, of which the low 16 bits count: 2 is RC4,
  /// any other AES-256-CBC.
  vu_crypto(int mode, int cipherNumber, const char* passphrase, const unsigned char* salt,
            int saltLength, int iterations);
  /// The same for a number of any other integer type, and for NULL, which has one.
  template <typename Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
  vu_crypto(int mode, Number cipherNumber, const char* passphrase, const unsigned char* salt,
            int saltLength, int iterations)
      : vu_crypto(mode, static_cast<int>(static_cast<unsigned short>(cipherNumber)), passphrase,
                  salt, saltLength, iterations) {}
  /// An engine under `key`, which it shares, whatever the process's key is; nor does it make one.
  /// A number of a cipher becomes one by `CipherLookup`. Throws as above, and vu_exception
  /// "vu_crypto: Null key".
  vu_crypto(int mode, const EVP_CIPHER* cipher, std::shared_ptr<const vu_key> key);
  vu_crypto(const vu_crypto&) = delete;
  vu_crypto& operator=(const vu_crypto&) = delete;
  virtual ~vu_crypto();

  /// The bytes of output that `cipheranalyse` demands for `length` bytes of input: for AES-256-CBC
  /// the next multiple of 16 above it, and 16 more when it is a multiple itself, but 16 for 0.
  /// Throws vu_exception "vu_crypto: Invalid length [" + length + "]" when that is negative or its
  /// demand is beyond an int.
  [[nodiscard]] int ciphersize(int length) const;

  /// Enciphers or deciphers `inLength` bytes at `in`, a message of its own, into the `outCapacity`
  /// bytes at `out`. Returns the number of bytes written; what is left of `out` is zeros. When
  /// `outCapacity` is less than `ciphersize(inLength)`, returns minus that, with `out` untouched
  /// (it may be null then). A change of `cipherkey_` counts from the next call on, for engines
  /// without a key of their own.
  ///
  /// Throws vu_exception, in this order, text being what OpenSSL says, at most 119 characters:
  ///   "vu_crypto: Invalid length [" + inLength + "]"   as `ciphersize`;
  ///   "Cipher Init failed : " + text                   also where RC4's provider is not installed,
  ///       after OpenSSL's clean-up at the process's end, and in a process in which OpenSSL had no
  ///       memory to start with;
  ///   "vu_crypto: Null buffer"                         for a null pointer to bytes;
  ///   "vu_crypto: Overlapping buffers"                 all with `out` untouched;
  ///   "Cipher Update failed : " + text                 `out` is zeros and what the update wrote;
  ///   "Cipher Final failed : " + text                  `out` is the update's output, then zeros:
  ///       the usual end of deciphering under another key, or of a length that is no multiple of
  ///       16.
  /// The engine serves further messages after each of them.
  [[nodiscard]] int cipheranalyse(const unsigned char* in, int inLength, unsigned char* out,
                                  int outCapacity);

  /// "Block size [16] key length [32] initialisation vector length [16]" for AES-256-CBC, 1, 16 and
  /// 0 for RC4; the numbers of the last message's set-up, before the first those of the cipher.
  std::string print_info() const;

  /// What the constructors do after they have set direction and cipher; the arguments have no
  /// effect on an engine with a key of its own. Throws as they do.
  void initializeCrypto(const char* passphrase, const unsigned char* salt, int saltLength,
                        int iterations);

  /// Wipes the engine's key schedule, as the destructor does. The next message sets it up again.
  void cleanCipher();

  /// Whether the key material of the process is there. False means that messages are enciphered
  /// under zeros: no engine has been built yet, or every derivation has failed. It does not matter
  /// to engines with a key of their own.
  [[nodiscard]] static bool hasKey();

  /// The key material of the process: 128 derived bytes, the rest is never used. An engine's key is
  /// its first bytes, the initialisation vector those that follow the key.
  static unsigned char cipherkey_[256];

 private:
  const unsigned char* material() const { return key_ != nullptr ? key_->bytes() : cipherkey_; }
  void setUp();
  [[noreturn]] void fail(const char* what);

  int mode_;
  std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> ctx_;
  const EVP_CIPHER* cipher_;
  // While ready_ is set, ctx_ has its cipher, and of AES-256-CBC the schedule of the key in
  // lastKey_.
  bool ready_ = false;
  unsigned char lastKey_[32];
  std::shared_ptr<const vu_key> key_;  // null: the process's
};

/// The key, for `vu_data` and `vu_cmpUC20`, of the record of a domain: the SHA-1 digest of its text
/// in lower case (of ASCII). It tells strangers' domains apart as long as they do not want to
/// collide: two texts with one digest can be made. Any number of threads may call.
///
/// Throws vu_exception:
///   "vu_domainKey: Empty domain"               for one, such as that of a refused URL;
///   "vu_domainKey: Digest failed : " + text    text being what OpenSSL says, if anything;
/// and std::bad_alloc.
[[nodiscard]] VU_EXPORT std::array<unsigned char, 20> vu_domainKey(std::string_view domain);

#endif  // VU_CRYPTO_H_
