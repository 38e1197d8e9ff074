// OpenSSL as a whole: its functions, whether it is there, and what it says went wrong.

#ifndef VU_CRYPTO_OPENSSL_H_
#define VU_CRYPTO_OPENSSL_H_

#include <string>

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

namespace vu::detail {

/// The functions of libcrypto that are called, under their own names.
struct OpenSsl {
  decltype(::ERR_clear_error)* ERR_clear_error;
  decltype(::ERR_clear_last_mark)* ERR_clear_last_mark;
  decltype(::ERR_error_string_n)* ERR_error_string_n;
  decltype(::ERR_get_error)* ERR_get_error;
  decltype(::ERR_peek_error)* ERR_peek_error;
  decltype(::ERR_pop_to_mark)* ERR_pop_to_mark;
  decltype(::ERR_set_mark)* ERR_set_mark;
  decltype(::EVP_CIPHER_CTX_free)* EVP_CIPHER_CTX_free;
  decltype(::EVP_CIPHER_CTX_get0_cipher)* EVP_CIPHER_CTX_get0_cipher;
  decltype(::EVP_CIPHER_CTX_get_block_size)* EVP_CIPHER_CTX_get_block_size;
  decltype(::EVP_CIPHER_CTX_get_iv_length)* EVP_CIPHER_CTX_get_iv_length;
  decltype(::EVP_CIPHER_CTX_get_key_length)* EVP_CIPHER_CTX_get_key_length;
  decltype(::EVP_CIPHER_CTX_new)* EVP_CIPHER_CTX_new;
  decltype(::EVP_CIPHER_CTX_reset)* EVP_CIPHER_CTX_reset;
  decltype(::EVP_CIPHER_fetch)* EVP_CIPHER_fetch;
  decltype(::EVP_CIPHER_get_block_size)* EVP_CIPHER_get_block_size;
  decltype(::EVP_CIPHER_get_iv_length)* EVP_CIPHER_get_iv_length;
  decltype(::EVP_CIPHER_get_key_length)* EVP_CIPHER_get_key_length;
  decltype(::EVP_CipherFinal_ex)* EVP_CipherFinal_ex;
  decltype(::EVP_CipherInit_ex)* EVP_CipherInit_ex;
  decltype(::EVP_CipherUpdate)* EVP_CipherUpdate;
  decltype(::EVP_Digest)* EVP_Digest;
  decltype(::EVP_aes_256_cbc)* EVP_aes_256_cbc;
  decltype(::EVP_rc4)* EVP_rc4;
  decltype(::EVP_sha1)* EVP_sha1;
  decltype(::OPENSSL_cleanse)* OPENSSL_cleanse;
  decltype(::OPENSSL_init_crypto)* OPENSSL_init_crypto;
  decltype(::OSSL_LIB_CTX_free)* OSSL_LIB_CTX_free;
  decltype(::OSSL_LIB_CTX_get0_global_default)* OSSL_LIB_CTX_get0_global_default;
  decltype(::OSSL_LIB_CTX_new)* OSSL_LIB_CTX_new;
  decltype(::OSSL_LIB_CTX_set0_default)* OSSL_LIB_CTX_set0_default;
  decltype(::OSSL_PROVIDER_load)* OSSL_PROVIDER_load;
  decltype(::OSSL_PROVIDER_unload)* OSSL_PROVIDER_unload;
  decltype(::PKCS5_PBKDF2_HMAC_SHA1)* PKCS5_PBKDF2_HMAC_SHA1;
};

/// The one copy of them. A shared libvu loads libcrypto in the first call; when that fails, it
/// throws the vu_exception that <vu/crypto.h> tells of, and the next call tries again. It stays
/// until the process ends. A static libvu is linked with it. Any thread may call.
const OpenSsl& openSsl();

/// False once OpenSSL has cleaned up at the process's end, and when it had no memory to start with,
/// for which it does not try twice: its calls would crash. Throws as `openSsl`.
bool openSslIsThere();

/// The earliest error of this thread's queue as a text of at most 119 characters, or ""; the queue
/// is empty afterwards. Throws as `openSsl`.
std::string takeErrorText();

}  // namespace vu::detail

#endif  // VU_CRYPTO_OPENSSL_H_
