// The table of domain suffixes: the one algorithm behind all its look-ups.

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "domain/file_bytes.h"
#include "domain/host.h"
#include "domain/loaded_table.h"
#include "domain/plain_host.h"
#include "domain/suffix_tree.h"
#include "vu/domain.h"
#include "vu/pattern.h"

using vu::detail::FileBytes;
using vu::detail::HostScan;
using vu::detail::LabelsFromRight;
using vu::detail::LoadedTable;
using vu::detail::loadTable;
using vu::detail::PlainHost;
using vu::detail::SuffixTree;

namespace {

/// Where in a host its registered domain begins, or why there is none.
struct Cut {
  vu_status status;
  const char* start;
};

constexpr Cut kTooShort{VU_COUNTRY_CODE_TOO_SHORT, nullptr};
constexpr Cut kPureDomain{VU_COUNTRY_CODE_PURE_DOMAIN, nullptr};

/// The label in front of the shortest listed suffix of two labels or more, among the last
/// `maxLabels` labels of a host; the last two labels where none is listed. `label` is the second
/// from the right, `node` that of the last two, `labels` what stands in front of them.
Cut cutAbovePair(const SuffixTree& tree, int maxLabels, SuffixTree::Node node,
                 std::string_view label, LabelsFromRight labels) noexcept {
  const Cut lastTwo{VU_SUCCESS, label.data()};
  for (int kept = 2; node != SuffixTree::kNone; ++kept) {
    const bool listed = (tree.listings(node) & vu::detail::kSuffix) != 0;
    const bool another = kept < maxLabels && labels.next(label);
    if (listed) return another ? Cut{VU_SUCCESS, label.data()} : kPureDomain;
    if (!another) break;
    node = tree.child(node, label);
  }
  return lastTwo;
}

Cut cutShortest(const SuffixTree& tree, int maxLabels, std::string_view host) noexcept {
  LabelsFromRight labels(host);
  std::string_view label;
  labels.next(label);
  SuffixTree::Node node = tree.child(SuffixTree::kRoot, label);
  if (!labels.next(label)) return kTooShort;
  if (node != SuffixTree::kNone) node = tree.child(node, label);
  return cutAbovePair(tree, maxLabels, node, label, labels);
}

/// The label in front of the public suffix, which is the longest matching rule, or what an
/// exception leaves of it, or the last label where no rule matches.
Cut cutPublicSuffix(const SuffixTree& tree, std::string_view host) noexcept {
  LabelsFromRight labels(host);
  std::string_view label;
  SuffixTree::Node node = SuffixTree::kRoot;
  bool onTree = true;            // rules may go on to the left
  bool wildcard = false;         // the next label belongs to the suffix whatever it is
  std::size_t count = 0;         // labels seen
  std::size_t suffixLabels = 1;  // of the longest rule so far
  const char* domain = nullptr;  // the label in front of that rule, once seen
  while (labels.next(label)) {
    ++count;
    if (wildcard) {
      suffixLabels = count;
      domain = nullptr;
    } else if (count == suffixLabels + 1) {
      domain = label.data();
    }
    unsigned listings = 0;
    if (onTree) {
      node = tree.childIgnoringCase(node, label);
      onTree = node != SuffixTree::kNone;
      if (onTree) listings = tree.listings(node);
    }
    if ((listings & vu::detail::kException) != 0 && count > 1) return {VU_SUCCESS, label.data()};
    if ((listings & vu::detail::kRule) != 0) {
      suffixLabels = count;
      domain = nullptr;
    }
    wildcard = (listings & vu::detail::kWildcard) != 0;
    if (!onTree && domain != nullptr) break;
  }
  if (count == 1) return kTooShort;
  return domain != nullptr ? Cut{VU_SUCCESS, domain} : kPureDomain;
}

Cut cutName(const SuffixTree& tree, int maxLabels, std::string_view host, vu_match match) noexcept {
  return match == vu_match::shortest ? cutShortest(tree, maxLabels, host)
                                     : cutPublicSuffix(tree, host);
}

Cut cutPlain(const SuffixTree& tree, int maxLabels, const PlainHost& plain,
             vu_match match) noexcept {
  if (match == vu_match::publicSuffix) return cutPublicSuffix(tree, plain.host);
  const std::string_view front(plain.host.data(),
                               static_cast<std::size_t>(plain.lastTwo.data() - plain.host.data()));
  return cutAbovePair(tree, maxLabels, tree.pair(plain.lastTwo), plain.lastTwo,
                      LabelsFromRight(front));
}

/// Whether the table has nothing to say about a host, so that its domain is the last two labels.
bool isUnlisted(const SuffixTree& tree, const PlainHost& plain, vu_match match) noexcept {
  if (tree.mayKnow(plain.lastTwo)) return false;
  return match == vu_match::shortest || !tree.mayHaveWildcard(plain.last);
}

/// Whether a host is labels joined by single dots, with one more at its end or without.
bool isChain(std::string_view host) noexcept {
  if (!host.empty() && host.back() == '.') host.remove_suffix(1);
  return vu::detail::isHostName(host);
}

void setCut(const Cut& cut, vu_domain& result) noexcept {
  result.status = cut.status;
  if (cut.start == nullptr) return;
  const std::string_view host = result.host;
  result.domain = host.substr(static_cast<std::size_t>(cut.start - host.data()));
  if (!host.empty() && host.back() == '.') result.domain.remove_suffix(1);
}

void setAddress(std::uint32_t number, vu_domain& result) noexcept {
  for (std::size_t i = 0; i < 4; ++i) {
    result.address[i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
  }
}

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

/// Throws why a file that could be read is not taken.
[[noreturn]] void refuseFile(const char* path, const std::string& why) {
  throw vu_exception(vu_failure::file,
                     std::string("Top level domain definition file [") + path + "] " + why);
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
    : tree_(std::make_unique<SuffixTree>()) {
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
  auto empty = std::make_unique<SuffixTree>();
  tldSet_.clear();
  tree_.swap(empty);
  const FileBytes file = vu::detail::readFileBytes(path);
  return take(loadTable(file.bytes, file.error == 0));
}

int vu_cctld::reload(const char* path, int least) {
  const FileBytes file = vu::detail::readFileBytes(path);
  LoadedTable loaded = loadTable(file.bytes, file.error == 0);
  if (!loaded.error.empty()) throw vu_exception(vu_failure::file, loaded.error);
  if (file.changed) refuseFile(path, "changed while it was read");
  if (least < 0) least = suffixCount() - suffixCount() / 2;
  const auto count = static_cast<int>(loaded.suffixes.size());
  if (count < least) {
    refuseFile(path, "has " + val2str(count) + " suffixes, fewer than " + val2str(least));
  }
  return take(std::move(loaded));
}

/// Takes over what was loaded, and then throws when it ends in an error.
int vu_cctld::take(vu::detail::LoadedTable loaded) {
  tldSet_.swap(loaded.suffixes);
  tree_.swap(loaded.tree);
  maxLabels_ = std::max(maxLabels_, loaded.maxLabels);
  if (!loaded.error.empty()) throw vu_exception(vu_failure::file, loaded.error);
  return suffixCount();
}

vu_domain vu_cctld::classify(std::string_view url, vu_match match) const noexcept {
  vu_domain result{VU_SUCCESS, vu_host_kind::none, {}, {}, {}};
  if (url.data() == nullptr) {
    result.status = VU_COUNTRY_CODE_EMPTY_URL;
    return result;
  }
  vu::detail::PlainHost plain;
  if (!vu::detail::findPlainHost(url, plain)) {
    classifyAny(url, match, result);
  } else if (isUnlisted(*tree_, plain, match)) {
    result.kind = vu_host_kind::name;
    result.host = plain.host;
    result.domain = plain.lastTwo;
  } else {
    result.kind = vu_host_kind::name;
    result.host = plain.host;
    setCut(cutPlain(*tree_, maxLabels_, plain, match), result);
  }
  return result;
}

/// The general way: any host at all.
void vu_cctld::classifyAny(std::string_view url, vu_match match, vu_domain& result) const noexcept {
  const std::string_view host = result.host = vu::detail::cutHost(url);
  const bool mayBeAnything = match == vu_match::shortest || host.empty();
  if (host.size() > std::numeric_limits<int>::max() || !(mayBeAnything || isChain(host))) {
    result.status = VU_COUNTRY_CODE_NOT_A_DOMAIN;
    return;
  }
  const HostScan scan = vu::detail::scanHost(host);
  Cut cut{VU_SUCCESS, host.data()};
  if (scan.kind == HostScan::malformed) {
    cut = {VU_COUNTRY_CODE_NOT_A_DOMAIN, nullptr};
    setAddress(scan.ipAddress, result);
  } else if (scan.kind == HostScan::address) {
    result.kind = vu_host_kind::ipv4;
    setAddress(scan.ipAddress, result);
  } else if (scan.kind == HostScan::name) {
    result.kind = vu_host_kind::name;
    cut = cutName(*tree_, maxLabels_, host, match);
    if (cut.status == VU_COUNTRY_CODE_TOO_SHORT && !defaultDomain_.empty()) cut.status = VU_SUCCESS;
  }
  setCut(cut, result);
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

int vu_cctld::suffixCount() const noexcept { return static_cast<int>(tldSet_.size()); }
int vu_cctld::maxLabels() const noexcept { return maxLabels_; }
const std::string& vu_cctld::defaultDomain() const noexcept { return defaultDomain_; }
