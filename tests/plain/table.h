// The table of suffixes, told plainly: a definition file by fscanf, a look-up label by label
// through the expression, both rules by comparing whole names.

#ifndef VU_TESTS_PLAIN_TABLE_H_
#define VU_TESTS_PLAIN_TABLE_H_

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support.h"
#include "vu/domain.h"
#include "vu/pattern.h"

namespace vu::test {

constexpr int kLongestToken = 1023;

inline std::string readError(std::size_t record) {
  return "Top level domain : Read Error at [" + val2str(record) + "]-th record";
}

inline std::string lowerCase(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

struct PlainTable {
  std::set<std::string> suffixes;
  std::set<std::string> rules;  // the suffixes in lower case
  int maxLabels = 2;
  std::string defaultDomain;
  mutable vu_pcre label{"([a-z0-9][-_a-z0-9]*)", 2, 1};
  mutable vu_pcre chain{R"(\A[a-z0-9][-_a-z0-9]*+(?:\.[a-z0-9][-_a-z0-9]*+)*+\.?\z)", 1, 1};

  /// The result of loading: the number of suffixes, or the message.
  std::string load(const char* path) {
    suffixes.clear();
    rules.clear();
    FILE* file = std::fopen(path, "r");
    std::string result;
    while (std::feof(file) == 0) {
      char token[kLongestToken + 2] = "";
      int start = 0, end = 0;
      long long number = 0;  // held within 32 bits as it is read, then cut to 16
      if (std::fscanf(file, " %n%1024s%n %lld\n", &start, token, &end, &number) != 2 ||
          end - start > kLongestToken) {
        result = readError(suffixes.size() + 1);
        break;
      }
      number = std::clamp<long long>(number, INT32_MIN, INT32_MAX);
      suffixes.insert(token);
      rules.insert(lowerCase(token));
      maxLabels = std::max<int>(maxLabels, static_cast<short>(number));
    }
    std::fclose(file);
    return result.empty() ? val2str(suffixes.size()) : result;
  }

  using Labels = std::vector<std::string_view>;
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  static std::string nameFrom(const Labels& labels, std::size_t first) {
    std::string name;
    for (std::size_t i = first; i < labels.size(); ++i) {
      name += (i > first ? "." : "") + std::string(labels[i]);
    }
    return name;
  }

  /// The label that the domain begins with, or none.
  std::size_t cutShortest(const Labels& labels) const {
    const auto most = static_cast<std::size_t>(maxLabels);
    const std::size_t first = labels.size() > most ? labels.size() - most : 0;
    for (std::size_t i = labels.size() - 1; i-- > first;) {
      if (suffixes.count(nameFrom(labels, i)) != 0) return i == first ? kNone : i - 1;
    }
    return labels.size() - 2;
  }

  std::size_t cutPublicSuffix(const Labels& labels) const {
    std::size_t suffix = labels.size() - 1;
    std::string behind;
    for (std::size_t i = labels.size(); i-- > 0;) {
      const std::string name = lowerCase(nameFrom(labels, i));
      if (!behind.empty() && rules.count("!" + name) != 0) return i;
      const bool wild = !behind.empty() && rules.count("*." + behind) != 0;
      if (wild || rules.count(name) != 0) suffix = i;
      behind = name;
    }
    return suffix == 0 ? kNone : suffix - 1;
  }

  vu_domain classify(std::string_view url, vu_match match = vu_match::shortest) const {
    const std::size_t scheme = url.find("://");
    std::string_view host = scheme <= 14 ? url.substr(scheme + 3) : url;
    host = host.substr(0, host.find_first_of("/:"));
    vu_domain found{VU_SUCCESS, vu_host_kind::none, host, {}, {}};
    const auto size = static_cast<int>(host.size());
    if (match == vu_match::publicSuffix && size != 0 &&
        chain.execute(host.data(), size, 0, 0) != 1) {
      found.status = VU_COUNTRY_CODE_NOT_A_DOMAIN;
      return found;
    }
    Labels labels;
    bool numeric = true;
    for (int at = 0; label.execute(host.data(), size, at, 0) >= 1;) {
      const auto start = static_cast<std::size_t>(label.results()[0]);
      at = label.results()[1];
      const auto end = static_cast<std::size_t>(at);
      labels.push_back(host.substr(start, end - start));
      const std::string text(labels.back());
      int value = 255;
      if (numeric && text.find_first_not_of("0123456789") == std::string::npos) {
        messageOf([&] { value = str2val<int>(text, false); });
      }
      numeric = value <= 254;
      if (numeric) {
        std::rotate(found.address.begin(), found.address.begin() + 1, found.address.begin() + 4);
        found.address[3] = static_cast<std::uint8_t>(value);
      }
      if (end < host.size() && host[end] != '.') {
        found.status = VU_COUNTRY_CODE_NOT_A_DOMAIN;
        return found;
      }
    }
    const auto setDomain = [&found](std::size_t start) {
      found.domain = found.host.substr(start);
      if (!found.domain.empty() && found.domain.back() == '.') found.domain.remove_suffix(1);
    };
    if (numeric) {
      if (!labels.empty()) found.kind = vu_host_kind::ipv4;
      setDomain(0);
      return found;
    }
    found.kind = vu_host_kind::name;
    found.address = {};
    if (labels.size() == 1) {
      if (defaultDomain.empty()) found.status = VU_COUNTRY_CODE_TOO_SHORT;
      return found;
    }
    const std::size_t cut =
        match == vu_match::shortest ? cutShortest(labels) : cutPublicSuffix(labels);
    if (cut == kNone) {
      found.status = VU_COUNTRY_CODE_PURE_DOMAIN;
    } else {
      setDomain(static_cast<std::size_t>(labels[cut].data() - host.data()));
    }
    return found;
  }

  /// What both forms of a look-up leave, as `outcome` tells it.
  std::string lookup(const std::string& url) const {
    const vu_domain found = classify(url);
    const std::string text(found.host.data()), ip = " " + val2str(found.ipAddress());
    std::string refusal;
    if (found.status == VU_COUNTRY_CODE_NOT_A_DOMAIN) {
      refusal = "vu_cctld::lookup: Not a URL domain name " + text;
    } else if (found.status != VU_SUCCESS) {
      const bool isShort = found.status == VU_COUNTRY_CODE_TOO_SHORT;
      refusal = "Ill-formed domain name [" + text + "] - " +
                (isShort ? "record too short 1" : "Pure domain record");
    }
    if (!refusal.empty()) return refusal + " | -1 0" + ip + " | unchanged" + ip;
    const char* const start = found.domain.data();
    const char* const from = start != nullptr ? start : found.host.data();
    const auto length = found.host.data() + found.host.size() - from;
    const std::string first = " | " + val2str(start == nullptr ? -1 : start - url.c_str()) + " " +
                              val2str(length) + ip + " | ";
    if (start != nullptr && length > 0) return first + std::string(found.domain) + ip;
    if (defaultDomain.empty()) return first + "Internal lookup return NULLunchanged" + ip;
    return first + std::string(found.host) + "." + defaultDomain + ip;
  }
};

/// Everything that both forms of a look-up leave, as text: the first one's message, offset, length
/// and address; the second one's message where it differs, domain and address.
inline std::string outcome(const vu_cctld& table, const std::string& url) {
  int length = -7, reserved = 7;
  unsigned ip = 7;
  const char* start = nullptr;
  const std::string message =
      messageOf([&] { start = table.lookup(url.c_str(), length, ip, reserved); });
  const std::string all = message + " | " + val2str(start == nullptr ? -1 : start - url.c_str()) +
                          " " + val2str(length) + " " + val2str(ip);
  std::string domain = "unchanged";
  const std::string second = messageOf([&] { reserved += table.lookup(url.c_str(), domain, ip); });
  return all + " | " + (second == message ? "" : second) + domain + " " + val2str(ip) +
         (reserved != 0 ? " and no 0" : "");
}

/// All that `classify` tells, as text; views by their places in `url`, which they must not leave.
inline std::string described(const vu_domain& found, std::string_view url) {
  std::string all = val2str(static_cast<unsigned>(found.status)) + " kind " +
                    val2str(static_cast<int>(found.kind)) + " address " +
                    printHexical(found.address.data(), 16, 0, false);
  for (const std::string_view view : {found.host, found.domain}) {
    all += " | ";
    if (view.data() == nullptr) continue;
    const auto place = view.data() - url.data();
    const auto most = static_cast<std::ptrdiff_t>(url.size());
    const bool inside = place >= 0 && place + static_cast<std::ptrdiff_t>(view.size()) <= most;
    all += val2str(place) + "+" + val2str(view.size()) + (inside ? "" : " outside");
  }
  return all;
}

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_TABLE_H_
