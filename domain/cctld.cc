// The table of domain suffixes: loading, and the look-ups that throw.

#include <algorithm>
#include <cstring>
#include <utility>

#include "domain/load.h"
#include "domain/suffix_table.h"
#include "vu/domain.h"
#include "vu/pattern.h"

using vu::detail::LoadedTable;
using vu::detail::SuffixTable;

namespace {

/// Throws what a refusal by `lookup` says; `text` is the URL from its host on.
[[noreturn]] void refuse(vu_status status, const char* text) {
  constexpr vu_failure kind = vu_failure::domain;
  switch (status) {
    case VU_COUNTRY_CODE_NOT_A_DOMAIN:
      throw vu_exception(kind, std::string("vu_cctld::lookup: Not a URL domain name ") + text);
    case VU_COUNTRY_CODE_TOO_SHORT:
      throw vu_exception(kind,
                         std::string("Ill-formed domain name [") + text + "] - record too short 1");
    case VU_COUNTRY_CODE_PURE_DOMAIN:
      throw vu_exception(kind,
                         std::string("Ill-formed domain name [") + text + "] - Pure domain record");
    default:
      throw vu_exception(kind, "Top Level Domain lookup error : Empty URL");
  }
}

int countOf(const SuffixTable& table) noexcept {
  return static_cast<int>(table.fact(vu::detail::header::kSuffixes));
}

/// Throws why a file that could be read is not taken.
[[noreturn]] void refuseFile(const char* path, const std::string& why) {
  throw vu_exception(vu_failure::file,
                     std::string("Top level domain definition file [") + path + "] " + why);
}

void refuseFailed(const LoadedTable& loaded) {
  if (!loaded.error.empty()) throw vu_exception(vu_failure::file, loaded.error);
}

/// The value of a line "name: value" in what a table tells of its list.
std::string valueIn(std::string_view info, std::string_view name) {
  while (!info.empty()) {
    const std::string_view line = info.substr(0, info.find('\n'));
    info.remove_prefix(std::min(info.size(), line.size() + 1));
    if (line.substr(0, name.size()) == name) return std::string(line.substr(name.size()));
  }
  return "";
}

/// What both forms of `lookup` begin with. Only a host that does not end among the first bytes
/// needs the rest of its URL, which may be long, to be read.
vu_domain classifyOrThrow(const vu_cctld& table, const char* url, unsigned int& ipAddress) {
  ipAddress = 0;
  if (url == nullptr) refuse(VU_COUNTRY_CODE_EMPTY_URL, "");
  constexpr std::size_t kFirstBytes = 65;
  const std::string_view start(url, strnlen(url, kFirstBytes));
  vu_domain found = table.classify(start);
  if (start.size() == kFirstBytes && found.host.data() + found.host.size() == url + kFirstBytes) {
    found = table.classify(url);
  }
  ipAddress = found.ipAddress();
  if (found.status != VU_SUCCESS) refuse(found.status, found.host.data());
  return found;
}

}  // namespace

vu_cctld::vu_cctld(const char* tldFile, const char* defaultDomain)
    : tldSet_(std::make_unique<SuffixTable>()) {
  if (tldFile != nullptr) {
    try {
      initSet(tldFile);
    } catch (const std::exception&) {
      // A daemon starts without its table too: the object keeps what was read.
    }
  }
  if (defaultDomain != nullptr) defaultDomain_ = defaultDomain;
  labelRegex_ = std::make_unique<vu_pcre>("([a-z0-9][-_a-z0-9]*)", 2, 1);
}

vu_cctld::~vu_cctld() = default;

int vu_cctld::initSet(const char* path) {
  tldSet_ = std::make_unique<SuffixTable>();
  LoadedTable loaded = vu::detail::loadDefinition(path);
  tldSet_.swap(loaded.table);
  maxLabels_ = std::max(maxLabels_, loaded.maxLabels);
  refuseFailed(loaded);
  return suffixCount();
}

int vu_cctld::open(const char* path) {
  LoadedTable loaded = vu::detail::loadAny(path, false);
  refuseFailed(loaded);
  tldSet_.swap(loaded.table);
  maxLabels_ = std::max(maxLabels_, loaded.maxLabels);
  return suffixCount();
}

int vu_cctld::openBytes(std::string bytes, const std::string& name) {
  LoadedTable loaded = vu::detail::loadAny(std::move(bytes), name);
  refuseFailed(loaded);
  tldSet_.swap(loaded.table);
  maxLabels_ = std::max(maxLabels_, loaded.maxLabels);
  return suffixCount();
}

int vu_cctld::reload(const char* path, int least) {
  LoadedTable loaded = vu::detail::loadAny(path, true);
  refuseFailed(loaded);
  if (loaded.changed) refuseFile(path, "changed while it was read");
  if (least < 0) least = suffixCount() - suffixCount() / 2;
  const int count = countOf(*loaded.table);
  if (count < least) {
    refuseFile(path, "has " + val2str(count) + " suffixes, fewer than " + val2str(least));
  }
  tldSet_.swap(loaded.table);
  maxLabels_ = std::max(maxLabels_, loaded.maxLabels);
  return count;
}

const char* vu_cctld::lookup(const char* url, int& domainLength, unsigned int& ipAddress,
                             int& reserved) const {
  domainLength = 0;
  ipAddress = 0;
  reserved = 0;
  const vu_domain found = classifyOrThrow(*this, url, ipAddress);
  const char* const start = found.domain.data();
  const char* const hostStart = found.host.data();
  const char* const hostEnd = hostStart + found.host.size();
  domainLength = static_cast<int>(hostEnd - (start != nullptr ? start : hostStart));
  return start;
}

int vu_cctld::lookup(const char* url, std::string& domain, unsigned int& ipAddress) const {
  const vu_domain found = classifyOrThrow(*this, url, ipAddress);
  if (!found.host.empty() && found.domain.data() != nullptr) {
    domain = found.domain;
    return 0;
  }
  if (defaultDomain_.empty()) throw vu_exception(vu_failure::domain, "Internal lookup return NULL");
  std::string completed(found.host);
  completed += '.';
  completed += defaultDomain_;
  domain = std::move(completed);
  return 0;
}

int vu_cctld::suffixCount() const noexcept { return countOf(*tldSet_); }
int vu_cctld::maxLabels() const noexcept { return maxLabels_; }
const std::string& vu_cctld::defaultDomain() const noexcept { return defaultDomain_; }

vu_table_facts vu_cctld::facts() const {
  return {valueIn(tldSet_->info(), "version: "), valueIn(tldSet_->info(), "commit: "),
          tldSet_->fact(vu::detail::header::kIcann), tldSet_->fact(vu::detail::header::kPrivate),
          tldSet_->fact(vu::detail::header::kOwn)};
}
