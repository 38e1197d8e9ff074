#include "tools/versions.h"

#include <idn2.h>
#include <pcre.h>

#include <CLI/Version.hpp>
#include <nlohmann/json.hpp>
#include <openssl/crypto.h>

#include "vu/version.h"

namespace vu::tool {

std::string versions() {
  const std::string pcre = pcre_version();  // with the date of the release behind it
  return std::string("vu ") + vu_version + "\nPCRE " + pcre.substr(0, pcre.find(' ')) +
         "\nOpenSSL " + OpenSSL_version(OPENSSL_VERSION_STRING) + "\nlibidn2 " +
         idn2_check_version(nullptr) + "\nCLI11 " + CLI11_VERSION + "\nnlohmann-json " +
         std::to_string(NLOHMANN_JSON_VERSION_MAJOR) + "." +
         std::to_string(NLOHMANN_JSON_VERSION_MINOR) + "." +
         std::to_string(NLOHMANN_JSON_VERSION_PATCH);
}

}  // namespace vu::tool
