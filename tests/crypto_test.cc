// Key derivation against published vectors, what an engine refuses, and how it gets on with
// OpenSSL. The key material belongs to the process, so every case has one of its own.

#include "vu/crypto.h"

#include <climits>

#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include "tests/plain/cipher.h"
#include "tests/process.h"
#include "tests/support.h"

namespace vu::test {
namespace {

TEST(Crypto, DerivesThePublishedKeys) {
  inChild([] {
    // RFC 6070's longest.
    const char* const passphrase = "passwordPASSWORDpassword";
    const Byte* const salt = bytes("saltSALTsaltSALTsaltSALTsaltSALTsalt");
    const vu_crypto first(1, 0, passphrase, salt, 36, 4096);
    EXPECT_EQ("3d2eec4fe41c849b80c8d83662c0e44a8b291a964cf2f07038", hex(vu_crypto::cipherkey_, 25));
    Byte all[256] = {};
    PKCS5_PBKDF2_HMAC_SHA1(passphrase, -1, salt, 36, 4096, 128, all);
    EXPECT_EQ(hex(all, 128), hex(vu_key(passphrase, salt, 36, 4096).bytes(), 128));
    const vu_crypto second(0, 2, "other", bytes("x"), 1, 3);  // there is a key
    EXPECT_EQ(hex(all, 256), hex(vu_crypto::cipherkey_, 256));
    // The built-in pass phrase and salt, which must never change; without a salt no length counts.
    std::fill_n(vu_crypto::cipherkey_, 128, Byte{0});
    const vu_crypto builtIn(1, 0, nullptr, nullptr, -1, 1);
    EXPECT_EQ("3aa9b5c48dc181dd391a7e72dbca7ad9e3cd6d22", hex(vu_crypto::cipherkey_, 20));

    EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", hex(vu_domainKey("aBc").data(), 20));
    EXPECT_EQ("3d6e9f64286a009a3ee672a327cdb823d7d3ce4f", hex(vu_domainKey("AZ@[\xc4").data(), 20));
    EXPECT_EQ("vu_domainKey: Empty domain", messageOf([] { return vu_domainKey(""); }));
    EXPECT_EQ(vu_failure::domain, kindOf([] { return vu_domainKey(""); }));
  });
}

TEST(Crypto, RefusesWhatItCannotDo) {
  inChild([] {
    for (const int mode : {-1, 2}) {
      EXPECT_EQ("Unknown cryptic mode: 1 or 0",
                messageOf([=] { const vu_crypto none(mode, 0, "p", bytes("s"), 1, 1); }));
    }
    // Derivations that fail: no report, no key, no queued error.
    for (const auto& [saltLength, iterations] : {std::pair(1, 0), {1, -1}, {-1, 1}}) {
      const vu_crypto none(1, 0, "p", bytes("s"), saltLength, iterations);
      EXPECT_EQ(0U, ERR_peek_error());
      EXPECT_FALSE(vu_crypto::hasKey());
    }
    vu_crypto aes(1, 0, "p", bytes("s"), 1, 1);
    EXPECT_TRUE(vu_crypto::hasKey());
    vu_crypto rc4(1, 2, nullptr, nullptr, 0, 1);
    const struct {
      int length, aes, rc4;
    } sizes[] = {{16, 48, 18},
                 {INT_MAX - 32, INT_MAX - 31, INT_MAX - 30},
                 {INT_MAX - 2, -1, INT_MAX},
                 {INT_MAX, -1, -1},
                 {-1, -1, -1},
                 {INT_MIN, -1, -1}};
    Byte buffer[16];
    for (const auto& row : sizes) {
      for (vu_crypto* engine : {&aes, &rc4}) {
        const int expected = engine == &aes ? row.aes : row.rc4;
        EXPECT_EQ(expected >= 0 ? "" : "vu_crypto: Invalid length [" + val2str(row.length) + "]",
                  messageOf([&] {
                    EXPECT_EQ(-expected,
                              engine->cipheranalyse(buffer, row.length, nullptr, expected - 1));
                    EXPECT_EQ(expected, engine->ciphersize(row.length)) << row.length;
                  }));
      }
    }
    EXPECT_EQ("vu_crypto: Null buffer",
              messageOf([&] { return aes.cipheranalyse(nullptr, 3, buffer, 16); }));
    EXPECT_EQ("vu_crypto: Null buffer",
              messageOf([&] { return aes.cipheranalyse(buffer, 3, nullptr, 16); }));
    EXPECT_EQ(16, aes.cipheranalyse(nullptr, 0, buffer, 16));
    // Where nothing can be made ready any more, what is ready goes on.
    ASSERT_EQ(1, EVP_set_default_properties(nullptr, "fips=yes"));
    EXPECT_EQ(16, aes.cipheranalyse(nullptr, 0, buffer, 16));
    aes.cleanCipher();
    EXPECT_NE("", messageOf([&] { process(aes, "text"); }));
  });
}

TEST(Crypto, ChoosesCiphersByNumber) {
  inChild([] {
    for (const int number : {0, 1, 2, 3, 65535, 65538, -1, -65534}) {
      const bool rc4 = number == 2 || number == 65538 || number == -65534;
      vu_crypto encipher(1, number, "first", nullptr, 0, 1);
      vu_crypto decipher(0, number, "ignored", nullptr, 0, 1);
      for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(rc4 ? "Block size [1] key length [16] initialisation vector length [0]"
                      : "Block size [16] key length [32] initialisation vector length [16]",
                  encipher.print_info());
        EXPECT_EQ("some text", process(decipher, process(encipher, "some text"))) << number;
        if (round == 1) decipher.cleanCipher();
        if (round == 1) encipher.initializeCrypto(nullptr, nullptr, 0, 1);
      }
    }
    // NULL is like one or the other, by the width of a pointer.
    EXPECT_EQ(16, vu_crypto(1, 0L, nullptr, nullptr, 0, 1).ciphersize(1));
    EXPECT_EQ(3, vu_crypto(1, 65538UL, nullptr, nullptr, 0, 1).ciphersize(1));
    EXPECT_EQ(EVP_aes_256_cbc(), CipherLookup()(1));
    EXPECT_EQ(nullptr, CipherLookup()(65535));
  });
}

TEST(Crypto, LeavesOpenSslAlone) {
  inChild([] {
    const std::string reason(94, 'r');  // a byte too long to be told
    const int library = ERR_get_next_error_library();
    ERR_STRING_DATA texts[] = {{ERR_PACK(0, 0, 1), reason.c_str()}, {0, nullptr}};
    ERR_load_strings(library, texts);
    ERR_raise(library, 1);
    const unsigned long others = ERR_peek_error();
    vu_crypto rc4(1, 2, nullptr, nullptr, 0, 1);
    vu_crypto aes(1, 1, nullptr, nullptr, 0, 1);
    vu_crypto decipher(0, 1, nullptr, nullptr, 0, 1);
    EXPECT_EQ("x", process(decipher, process(aes, "x")));
    EXPECT_EQ(3U, process(rc4, "xyz").size());
    EXPECT_EQ(others, ERR_peek_error());
    EXPECT_EQ(0, OSSL_PROVIDER_available(nullptr, "legacy"));

    // A failure takes the earliest error there is, and empties the queue.
    const std::string text = messageOf([&] { process(decipher, "no ciphertext"); });
    char expected[120];
    ERR_error_string_n(others, expected, sizeof expected);
    EXPECT_EQ(std::string("Cipher Final failed : ") + expected, text);
    EXPECT_EQ(vu_failure::cipher, kindOf([&] { process(decipher, "no ciphertext"); }));
    EXPECT_EQ(0U, ERR_peek_error());
  });
}

TEST(Crypto, TakesKeysOfTheCaller) {
  inChild([] {
    const auto make = [](const char* passphrase, const char* salt, int length, int iterations) {
      return std::make_shared<const vu_key>(passphrase, salt != nullptr ? bytes(salt) : nullptr,
                                            length, iterations);
    };
    auto mine = make("password", "salt", 4, 2);
    for (const EVP_CIPHER* cipher : {EVP_aes_256_cbc(), EVP_rc4(), EVP_aes_256_ctr()}) {
      vu_crypto own(1, cipher, mine);
      vu_crypto ownBack(0, cipher, mine);
      vu_crypto ofTheProcess(1, cipher, nullptr, nullptr, 0, 0);
      EXPECT_FALSE(vu_crypto::hasKey());
      for (int round = 0; round < 3; ++round) {
        const std::string enciphered = process(own, "some text");
        EXPECT_EQ("some text", process(ownBack, enciphered));
        std::copy_n(mine->bytes(), 128, vu_crypto::cipherkey_);
        EXPECT_EQ(enciphered, process(ofTheProcess, "some text"));
        std::fill_n(vu_crypto::cipherkey_, 128, Byte{0});
      }
    }
    // The next key beside the one that it renews, which lives on in engines alone.
    const auto next = make("password", nullptr, 0, 2);
    vu_crypto last(1, nullptr, std::exchange(mine, next));
    vu_crypto behind(0, nullptr, next);
    EXPECT_EQ("Cipher Final failed : ",
              messageOf([&] { process(behind, process(last, "some text")); }).substr(0, 22));
    alignas(vu_key) Byte place[sizeof(vu_key)];
    auto* const gone = new (place) vu_key("password", bytes("salt"), 4, 1);
    EXPECT_EQ("0c60c80f961f0e71", hex(gone->bytes(), 8));
    gone->~vu_key();
    EXPECT_EQ(std::string(256, '0'), hex(place, 128));
    EXPECT_EQ("vu_key: Null buffer", messageOf([&] { make(nullptr, "s", 1, 1); }));
    EXPECT_EQ("vu_key: Null buffer", messageOf([&] { make("p", nullptr, 1, 1); }));
    EXPECT_EQ("vu_key: Invalid length [-1]", messageOf([&] { make("p", "s", -1, 1); }));
    EXPECT_EQ("vu_key: Invalid iterations [0]", messageOf([&] { make("p", "s", 1, 0); }));
    EXPECT_EQ(vu_failure::cipher, kindOf([&] { make("p", "s", 1, 0); }));
    EXPECT_EQ("vu_crypto: Null key",
              messageOf([] { const vu_crypto none(1, nullptr, std::shared_ptr<const vu_key>()); }));
    EXPECT_EQ("Unknown cryptic mode: 1 or 0",
              messageOf([&] { const vu_crypto none(2, nullptr, mine); }));
  });
}

/// A process whose configuration loads the legacy provider alone still has its key, for RC4.
TEST(Crypto, DerivesWhereTheProcessCannot) {
  inChild([] {
    const TemporaryFile file(
        "openssl_conf = a\n[a]\nproviders = b\n[b]\nlegacy = c\n[c]\nactivate = 1\n");
    setenv("OPENSSL_CONF", file.path(), 1);
    EXPECT_FALSE(vu_crypto::hasKey());
    vu_crypto rc4(1, 2, "password", bytes("salt"), 4, 1);
    EXPECT_TRUE(vu_crypto::hasKey());
    EXPECT_EQ("0c60c80f961f0e71f3a9b524af601206", hex(vu_crypto::cipherkey_, 16));
    EXPECT_EQ(0U, ERR_peek_error());
    EXPECT_EQ(4U, process(rc4, "text").size());
    vu_crypto aes(1, 1, nullptr, nullptr, 0, 1);
    EXPECT_EQ("Cipher Init failed : error:0308010C",
              messageOf([&] { process(aes, "text"); }).substr(0, 35));
  });
}

/// The last to be destroyed: tries engines when OpenSSL has cleaned up.
struct AtTheEnd {
  ~AtTheEnd() {
    vu_crypto late(1, 2, nullptr, nullptr, 0, 1);
    std::string text = messageOf([this] { process(*used, "x"); });
    text += messageOf([&] { process(late, "x"); });
    text += messageOf([] { vu_key("p", bytes("s"), 1, 1); });
    text += messageOf([] { return vu_domainKey("x"); });
    if (text !=
        "Cipher Init failed : Cipher Init failed : vu_key: Derivation failed : "
        "vu_domainKey: Digest failed : ") {
      _exit(3);
    }
  }
  std::unique_ptr<vu_crypto> used = std::make_unique<vu_crypto>(1, 0, nullptr, nullptr, 0, 1);
};

/// Static engines are destroyed while the process ends, among OpenSSL's own clean-up.
TEST(Crypto, LivesToTheEndOfTheProcess) {
  inChild([] {
    vu_crypto::cipherkey_[127] = 1;  // nothing is derived, so nothing has started OpenSSL yet
    static const AtTheEnd atTheEnd;
    static vu_crypto aes(1, 0, nullptr, nullptr, 0, 1);
    static vu_crypto rc4(1, 2, nullptr, nullptr, 0, 1);
    EXPECT_EQ(17U, process(aes, "x").size() + process(rc4, "x").size());
  });
}

TEST(Crypto, HidesItsBuiltInTexts) {
  const std::string library = contentOf(VU_LIBRARY);
  EXPECT_NE(std::string::npos, library.find("Unknown cryptic mode"));
  for (const char* text : {"Vu7-qK2wZ9", "rEpu_4TaLe!"}) {
    for (std::size_t at = 0; at + 4 <= std::strlen(text); ++at) {
      EXPECT_EQ(std::string::npos, library.find(std::string(text + at, 4))) << text + at;
    }
  }
}

}  // namespace
}  // namespace vu::test
