#include "tools/versions.h"

#include <sys/stat.h>

#include <ctime>

#include <CLI/Version.hpp>
#include <openssl/opensslv.h>

#include "tools/suffix_list.h"
#include "vu/c.h"
#include "vu/pattern.h"
#include "vu/version.h"

namespace vu::tool {
namespace {

/// What a table tells of itself. The system's list is not read for it, which would take longer than
/// all else: its file's date is that of the list.
vu_table_description describe(const std::string& path, std::string& version) {
  vu_table_description told{};
  told.made = -1;
  vu_table* table = nullptr;
  struct stat file {};
  if (isSystemList(path)) {
    if (stat(path.c_str(), &file) == 0) told.made = file.st_mtime;
  } else if (vu_table_open(path.c_str(), &table, nullptr, 0) == VU_OK) {
    vu_table_describe(table, &told, sizeof told);
    version.assign(told.version.data, told.version.size);
    vu_table_close(table);
  }
  return told;
}

std::string tableInUse() {
  const std::string path = usualTable();
  if (path.empty()) return "no table of suffixes";
  std::string version;
  const vu_table_description told = describe(path, version);
  if (told.made < 0) return "suffixes " + path + ", which cannot be opened";
  constexpr std::int64_t kDay = 86400;
  const std::int64_t days = (static_cast<std::int64_t>(std::time(nullptr)) - told.made) / kDay;
  return "suffixes " + path + (version.empty() ? "" : ", version " + version) + ", " +
         std::to_string(days) + " days old";
}

}  // namespace

std::string versions() {
  return std::string("vu ") + vu_version + "\n" + vu_pcre::engine() + "\nOpenSSL " +
         OPENSSL_VERSION_STR + "\nCLI11 " + CLI11_VERSION + "\n" + tableInUse();
}

}  // namespace vu::tool
