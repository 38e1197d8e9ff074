#include <climits>

#include "vu/pattern.h"

namespace {

CharSizet_t viewOfGroup(const NvalPcre& regex, int group, const char* text) {
  int length = 0;
  const char* const data = regex.getResult(group, text, length);
  return {data, data != nullptr ? static_cast<unsigned int>(length) : 0};
}

[[noreturn]] void failWith(int code) {
  throw vu_exception(vu_failure::pattern, "stingTinsert : PCRE error " + val2str(code));
}

}  // namespace

NvalPcre::NvalPcre(const char* pattern, int pairs, int options)
    : vu_pcre(pattern, pairs, options) {}

NvalPcre::~NvalPcre() = default;

unsigned int insertNV2List(std::list<std::pair<CharSizet_t, CharSizet_t>>& list, NvalPcre& regex,
                           const char* text, unsigned int length) {
  if (text == nullptr) return 0;
  return insertNV2List(list, regex,
                       length != 0 ? std::string_view(text, length) : std::string_view(text));
}

unsigned int insertNV2List(std::list<std::pair<CharSizet_t, CharSizet_t>>& list, NvalPcre& regex,
                           std::string_view text) {
  if (text.size() > INT_MAX) failWith(vu_pcre::badLength);
  const int end = static_cast<int>(text.size());
  for (int offset = 0; offset < end;) {
    const int result = regex.execute(text.data(), end, offset, 0);
    if (result == vu_pcre::noMatch) break;
    if (result <= 0) failWith(result);
    if (result == 3) {
      list.emplace_back(viewOfGroup(regex, 1, text.data()), viewOfGroup(regex, 2, text.data()));
    }
    const int matchEnd = regex.getContextOffset();
    offset = matchEnd > offset ? matchEnd : offset + 1;
  }
  return static_cast<unsigned int>(list.size());
}

const CharSizet_t* findValue(const std::list<std::pair<CharSizet_t, CharSizet_t>>& list,
                             std::string_view name) noexcept {
  for (const auto& pair : list) {
    if (pair.first.view() == name) return &pair.second;
  }
  return nullptr;
}
