// A byte at a time, up to the first that is not plain.

#include <algorithm>
#include <array>

#include "url/plain_url.h"

namespace vu::detail {
namespace {

constexpr std::array<bool, 256> makePlain() {
  std::array<bool, 256> plain{};
  for (unsigned c = 'a'; c <= 'z'; ++c) plain[c] = true;
  for (unsigned c = '0'; c <= '9'; ++c) plain[c] = true;
  plain['-'] = plain['_'] = plain['.'] = true;
  return plain;
}

constexpr std::array<bool, 256> kPlain = makePlain();

inline PlainBytes findBytes(const char* text, std::size_t length) noexcept {
  PlainBytes all{0, 0};
  length = std::min<std::size_t>(length, 64);
  for (std::size_t i = 0; i < length && kPlain[static_cast<unsigned char>(text[i])]; ++i) {
    all.plain |= std::uint64_t{1} << i;
    if (text[i] == '.') all.dots |= std::uint64_t{1} << i;
  }
  return all;
}

}  // namespace
}  // namespace vu::detail

vu_host browserHost(std::string_view url, char* buffer, std::size_t size,
                    vu_url_text how) noexcept {
  return vu::detail::findHost<vu::detail::findBytes>(url, {buffer, size}, how);
}
