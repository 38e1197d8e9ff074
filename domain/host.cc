// Scanning a host one byte at a time with a table of character classes: one pass forward tells what
// the host is, and the few labels that decide about its domain are then found from its end.

#include "domain/host.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "vu/foundation.h"

namespace vu::detail {
namespace {

enum : unsigned char { kNoBeginning = 1, kOutside = 2, kNoName = 4, kCapital = 8, kDot = 16 };

constexpr std::array<unsigned char, 256> makeClasses() {
  std::array<unsigned char, 256> classes{};
  for (unsigned char& each : classes) each = kNoBeginning | kOutside | kNoName;
  for (unsigned c = '0'; c <= '9'; ++c) classes[c] = 0;
  for (unsigned c = 'a'; c <= 'z'; ++c) classes[c] = 0;
  for (unsigned c = 'A'; c <= 'Z'; ++c) classes[c] = kCapital;
  classes['-'] = classes['_'] = kNoBeginning;
  classes['.'] = kNoBeginning | kOutside | kDot;
  return classes;
}

constexpr std::array<unsigned char, 256> kClasses = makeClasses();

unsigned classesOf(char c) { return kClasses[static_cast<unsigned char>(c)]; }

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

bool beginsLabel(char c) noexcept { return (classesOf(c) & kNoBeginning) == 0; }
bool insideLabel(char c) noexcept { return (classesOf(c) & kOutside) == 0; }

NameScan scanName(std::string_view name) noexcept {
  // No branch depends on a byte: where names have their dots cannot be predicted.
  unsigned seen = 0;
  unsigned misplaced = 0;
  unsigned previous = kDot;
  for (const char c : name) {
    const unsigned classes = classesOf(c);
    seen |= classes;
    misplaced |= previous / kDot & classes;  // 1, which is kNoBeginning, behind a dot
    previous = classes;
  }
  const bool isHostName = (seen & kNoName) == 0 && misplaced == 0 && (previous & kDot) == 0;
  return {isHostName, (seen & kDot) != 0, (seen & kCapital) != 0};
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
