#include "tools/versions.h"

#include <CLI/Version.hpp>
#include <openssl/opensslv.h>

#include "vu/pattern.h"
#include "vu/version.h"

namespace vu::tool {

std::string versions() {
  return std::string("vu ") + vu_version + "\n" + vu_pcre::engine() + "\nOpenSSL " +
         OPENSSL_VERSION_STR + "\nCLI11 " + CLI11_VERSION;
}

}  // namespace vu::tool
