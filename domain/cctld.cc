// The table of domain suffixes: loading it, and what it tells of itself.

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

int vu_cctld::suffixCount() const noexcept { return countOf(*tldSet_); }
int vu_cctld::maxLabels() const noexcept { return maxLabels_; }
const std::string& vu_cctld::defaultDomain() const noexcept { return defaultDomain_; }

vu_table_facts vu_cctld::facts() const {
  return {valueIn(tldSet_->info(), "version: "), valueIn(tldSet_->info(), "commit: "),
          tldSet_->fact(vu::detail::header::kIcann), tldSet_->fact(vu::detail::header::kPrivate),
          tldSet_->fact(vu::detail::header::kOwn)};
}
