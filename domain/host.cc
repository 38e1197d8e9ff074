// Scanning a host one byte at a time with a table of character classes: one pass forward tells what
// the host is, and the few labels that decide about its domain are then found from its end.

#include "domain/host.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "vu/foundation.h"

namespace vu::detail {
namespace {

enum : unsigned char { kBegins = 1, kInside = 2 };

constexpr std::array<unsigned char, 256> makeClasses() {
  std::array<unsigned char, 256> classes{};
  for (unsigned c = '0'; c <= '9'; ++c) classes[c] = kBegins | kInside;
  for (unsigned c = 'a'; c <= 'z'; ++c) classes[c] = kBegins | kInside;
  for (unsigned c = 'A'; c <= 'Z'; ++c) classes[c] = kBegins | kInside;
  classes['-'] = classes['_'] = kInside;
  return classes;
}

constexpr std::array<unsigned char, 256> kClasses = makeClasses();

/// Adds a label to the address when it is a number below 255.
bool addNumber(std::string_view label, std::uint32_t& address) noexcept {
  unsigned value = 0;
  for (const char c : label) {
    if (!isDigit(c)) return false;
    value = std::min(value * 10 + static_cast<unsigned>(c - '0'), 255U);
  }
  if (value == 255) return false;
  address = address << 8 | value;
  return true;
}

}  // namespace

bool beginsLabel(char c) noexcept {
  return (kClasses[static_cast<unsigned char>(c)] & kBegins) != 0;
}
bool insideLabel(char c) noexcept {
  return (kClasses[static_cast<unsigned char>(c)] & kInside) != 0;
}

bool isHostName(std::string_view name) noexcept {
  bool atStart = true;
  for (const char c : name) {
    if (atStart ? !beginsLabel(c) : !insideLabel(c) && c != '.') return false;
    atStart = c == '.';
  }
  return !atStart;
}

std::string_view cutHost(std::string_view url) noexcept {
  const std::size_t colon = url.substr(0, kLastSchemeStart + 3).find("://");
  if (colon != std::string_view::npos) url.remove_prefix(colon + 3);
  url = url.substr(0, url.find('/'));
  return url.substr(0, url.find(':'));
}

HostScan scanHost(std::string_view host) noexcept {
  const char* at = host.data();
  const char* const end = at + host.size();
  HostScan scan{HostScan::empty, 0};
  while (true) {
    at = std::find_if(at, end, beginsLabel);
    if (at == end) break;
    const char* const label = at;
    at = std::find_if_not(at, end, insideLabel);
    if (scan.kind != HostScan::name) {
      const bool number = addNumber({label, static_cast<std::size_t>(at - label)}, scan.ipAddress);
      scan.kind = number ? HostScan::address : HostScan::name;
    }
    if (at != end && *at != '.') {
      scan.kind = HostScan::malformed;
      break;
    }
  }
  return scan;
}

bool LabelsFromRight::next(std::string_view& label) noexcept {
  const char* const begin = rest_.data();
  const char* end = begin + rest_.size();
  while (true) {
    while (end != begin && !insideLabel(end[-1])) --end;
    if (end == begin) return false;
    const char* run = end;
    while (run != begin && insideLabel(run[-1])) --run;
    const char* const start = std::find_if(run, end, beginsLabel);
    if (start != end) {
      label = {start, static_cast<std::size_t>(end - start)};
      rest_ = {begin, static_cast<std::size_t>(run - begin)};
      return true;
    }
    end = run;
  }
}

}  // namespace vu::detail
