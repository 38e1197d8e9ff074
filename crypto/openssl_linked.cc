// Of a static libvu, whose users link libcrypto with it.

#include "crypto/openssl.h"

const vu::detail::OpenSsl& vu::detail::openSsl() {
  static constexpr OpenSsl all = {::ERR_clear_error,
                                  ::ERR_clear_last_mark,
                                  ::ERR_error_string_n,
                                  ::ERR_get_error,
                                  ::ERR_peek_error,
                                  ::ERR_pop_to_mark,
                                  ::ERR_set_mark,
                                  ::EVP_CIPHER_CTX_free,
                                  ::EVP_CIPHER_CTX_get0_cipher,
                                  ::EVP_CIPHER_CTX_get_block_size,
                                  ::EVP_CIPHER_CTX_get_iv_length,
                                  ::EVP_CIPHER_CTX_get_key_length,
                                  ::EVP_CIPHER_CTX_new,
                                  ::EVP_CIPHER_CTX_reset,
                                  ::EVP_CIPHER_fetch,
                                  ::EVP_CIPHER_get_block_size,
                                  ::EVP_CIPHER_get_iv_length,
                                  ::EVP_CIPHER_get_key_length,
                                  ::EVP_CipherFinal_ex,
                                  ::EVP_CipherInit_ex,
                                  ::EVP_CipherUpdate,
                                  ::EVP_Digest,
                                  ::EVP_aes_256_cbc,
                                  ::EVP_rc4,
                                  ::EVP_sha1,
                                  ::OPENSSL_cleanse,
                                  ::OPENSSL_init_crypto,
                                  ::OSSL_LIB_CTX_free,
                                  ::OSSL_LIB_CTX_get0_global_default,
                                  ::OSSL_LIB_CTX_new,
                                  ::OSSL_LIB_CTX_set0_default,
                                  ::OSSL_PROVIDER_load,
                                  ::OSSL_PROVIDER_unload,
                                  ::PKCS5_PBKDF2_HMAC_SHA1};
  return all;
}
