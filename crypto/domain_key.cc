// The fixed-width keys that records of domains are found by.

#include <algorithm>

#include "crypto/openssl.h"

#include "vu/crypto.h"

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::array<unsigned char, 20> vu_domainKey(std::string_view domain) {
  if (domain.empty()) throw vu_exception(vu_failure::domain, "vu_domainKey: Empty domain");
  std::string text(domain);
  std::transform(text.begin(), text.end(), text.begin(), lower);
  std::array<unsigned char, 20> key{};
  const vu::detail::OpenSsl& ssl = vu::detail::openSsl();
  if (!vu::detail::openSslIsThere() ||
      ssl.EVP_Digest(text.data(), text.size(), key.data(), nullptr, ssl.EVP_sha1(), nullptr) != 1) {
    throw vu_exception(vu_failure::cipher,
                       "vu_domainKey: Digest failed : " + vu::detail::takeErrorText());
  }
  return key;
}
