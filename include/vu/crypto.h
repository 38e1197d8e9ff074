// Enciphering and deciphering whole buffers under one key for the process.
//
//   vu_crypto engine(1, 0, passphrase, salt, saltLength, 100000);  // encipher, AES-256-CBC
//   std::vector<unsigned char> out(engine.ciphersize(length));
//   const int written = engine.cipheranalyse(in, length, out.data(), int(out.size()));
//   out.resize(written);
//
// What this is for: the processes of one service that keep data from casual eyes and from each
// other's formats. What it is not: protection of messages against somebody who can watch or change
// them. The first engine of a process fixes key and initialisation vector for all of them; equal
// messages give equal ciphertexts; nothing authenticates a ciphertext, so changed data may decipher
// to something else; RC4 is broken, and its engines repeat one key stream, so two ciphertexts
// reveal the difference of their messages; the built-in pass phrase and salt are the same
// everywhere. New designs take an authenticated cipher with a fresh nonce a message (AES-256-GCM,
// or libsodium's secretbox), with a key of their own.
//
// Threads:  the first engine of a process must not be built beside another one; later ones may be.
//           An engine serves one thread at a time.
// Errors:   vu_exception, and a negative result for a buffer that is too small. A failure in
//           OpenSSL empties the calling thread's OpenSSL error queue; nothing else disturbs
//           OpenSSL's state: RC4 lives in a library context of our own, kept until the process
//           ends.
// Lifetime: an engine keeps no pointer to what it is given, but for a cipher of the caller's own.

#ifndef VU_CRYPTO_H_
#define VU_CRYPTO_H_

#include <memory>
#include <string>

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
  vu_crypto(const vu_crypto&) = delete;
  vu_crypto& operator=(const vu_crypto&) = delete;
  virtual ~vu_crypto();

  /// The bytes of output that `cipheranalyse` demands for `length` bytes of input: for AES-256-CBC
  /// the next multiple of 16 above it, and 16 more when it is a multiple itself, but 16 for 0.
  /// Throws vu_exception "vu_crypto: Invalid length [" + length + "]" when that is negative or its
  /// demand is beyond an int.
  int ciphersize(int length) const;

  /// Enciphers or deciphers `inLength` bytes at `in`, a message of its own, into the `outCapacity`
  /// bytes at `out`. Returns the number of bytes written; what is left of `out` is zeros. When
  /// `outCapacity` is less than `ciphersize(inLength)`, returns minus that, with `out` untouched
  /// (it may be null then). A change of `cipherkey_` counts from the next call on.
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
  int cipheranalyse(const unsigned char* in, int inLength, unsigned char* out, int outCapacity);

  /// "Block size [16] key length [32] initialisation vector length [16]" for AES-256-CBC, 1, 16 and
  /// 0 for RC4; the numbers of the last message's set-up, before the first those of the cipher.
  std::string print_info() const;

  /// What the constructors do after they have set direction and cipher. Throws as they do.
  void initializeCrypto(const char* passphrase, const unsigned char* salt, int saltLength,
                        int iterations);

  /// Wipes the engine's key schedule, as the destructor does. The next message sets it up again.
  void cleanCipher();

  /// Whether the key material of the process is there. False means that messages are enciphered
  /// under zeros: no engine has been built yet, or every derivation has failed.
  [[nodiscard]] static bool hasKey();

  /// The key material of the process: 128 derived bytes, the rest is never used. An engine's key is
  /// its first bytes, the initialisation vector those that follow the key.
  static unsigned char cipherkey_[256];

 private:
  void setUp();
  [[noreturn]] void fail(const char* what);

  int mode_;
  std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> ctx_;
  const EVP_CIPHER* cipher_;
  // While ready_ is set, ctx_ has its cipher, and of AES-256-CBC the schedule of the key in lastKey_.
  bool ready_ = false;
  unsigned char lastKey_[32];
};

#endif  // VU_CRYPTO_H_
