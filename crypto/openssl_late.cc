// Of a shared libvu: libcrypto is larger than all else together that comes with it, and most
// processes never encipher anything. It is loaded when it is first asked for, and stays.

#include <dlfcn.h>

#include "crypto/openssl.h"

#include "vu/foundation.h"

namespace vu::detail {
namespace {

/// Throws the loader's reason.
[[noreturn]] void refuse() {
  throw vu_exception(vu_failure::cipher,
                     std::string("vu_crypto: Cannot load libcrypto [") + dlerror() + "]");
}

/// Finds the function of a name.
template <typename Function>
void find(void* library, const char* name, Function*& function) {
  void* const found = dlsym(library, name);
  if (found == nullptr) refuse();
  function = reinterpret_cast<Function*>(found);
}

OpenSsl load() {
  // The one whose headers were compiled with; others may differ in what functions take.
  const std::string name = "libcrypto.so." + val2str(OPENSSL_SHLIB_VERSION);
  // Never closed: OpenSSL has work to do when the process ends.
  void* const library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) refuse();
  OpenSsl all{};
  find(library, "ERR_clear_error", all.ERR_clear_error);
  find(library, "ERR_clear_last_mark", all.ERR_clear_last_mark);
  find(library, "ERR_error_string_n", all.ERR_error_string_n);
  find(library, "ERR_get_error", all.ERR_get_error);
  find(library, "ERR_peek_error", all.ERR_peek_error);
  find(library, "ERR_pop_to_mark", all.ERR_pop_to_mark);
  find(library, "ERR_set_mark", all.ERR_set_mark);
  find(library, "EVP_CIPHER_CTX_free", all.EVP_CIPHER_CTX_free);
  find(library, "EVP_CIPHER_CTX_get0_cipher", all.EVP_CIPHER_CTX_get0_cipher);
  find(library, "EVP_CIPHER_CTX_get_block_size", all.EVP_CIPHER_CTX_get_block_size);
  find(library, "EVP_CIPHER_CTX_get_iv_length", all.EVP_CIPHER_CTX_get_iv_length);
  find(library, "EVP_CIPHER_CTX_get_key_length", all.EVP_CIPHER_CTX_get_key_length);
  find(library, "EVP_CIPHER_CTX_new", all.EVP_CIPHER_CTX_new);
  find(library, "EVP_CIPHER_CTX_reset", all.EVP_CIPHER_CTX_reset);
  find(library, "EVP_CIPHER_fetch", all.EVP_CIPHER_fetch);
  find(library, "EVP_CIPHER_get_block_size", all.EVP_CIPHER_get_block_size);
  find(library, "EVP_CIPHER_get_iv_length", all.EVP_CIPHER_get_iv_length);
  find(library, "EVP_CIPHER_get_key_length", all.EVP_CIPHER_get_key_length);
  find(library, "EVP_CipherFinal_ex", all.EVP_CipherFinal_ex);
  find(library, "EVP_CipherInit_ex", all.EVP_CipherInit_ex);
  find(library, "EVP_CipherUpdate", all.EVP_CipherUpdate);
  find(library, "EVP_Digest", all.EVP_Digest);
  find(library, "EVP_aes_256_cbc", all.EVP_aes_256_cbc);
  find(library, "EVP_rc4", all.EVP_rc4);
  find(library, "EVP_sha1", all.EVP_sha1);
  find(library, "OPENSSL_cleanse", all.OPENSSL_cleanse);
  find(library, "OPENSSL_init_crypto", all.OPENSSL_init_crypto);
  find(library, "OSSL_LIB_CTX_free", all.OSSL_LIB_CTX_free);
  find(library, "OSSL_LIB_CTX_get0_global_default", all.OSSL_LIB_CTX_get0_global_default);
  find(library, "OSSL_LIB_CTX_new", all.OSSL_LIB_CTX_new);
  find(library, "OSSL_LIB_CTX_set0_default", all.OSSL_LIB_CTX_set0_default);
  find(library, "OSSL_PROVIDER_load", all.OSSL_PROVIDER_load);
  find(library, "OSSL_PROVIDER_unload", all.OSSL_PROVIDER_unload);
  find(library, "PKCS5_PBKDF2_HMAC_SHA1", all.PKCS5_PBKDF2_HMAC_SHA1);
  return all;
}

}  // namespace

const OpenSsl& openSsl() {
  // An initialiser that throws is run again by the next call.
  static const OpenSsl all = load();
  return all;
}

}  // namespace vu::detail
