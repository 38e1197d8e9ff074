#include <climits>
#include <cstring>

#include "vu/pattern.h"

namespace {

CharSizet_t viewOfGroup(const NvalPcre& regex, int group, const char* text) {
  int length = 0;
  const char* const data = regex.getResult(group, text, length);
  return {data, data != nullptr ? static_cast<unsigned int>(length) : 0};
}

constexpr int kBadLength = -32;  // PCRE_ERROR_BADLENGTH

[[noreturn]] void failWith(int code) {
  throw vu_exception("stingTinsert : PCRE error " + val2str(code));
}

}  // namespace

NvalPcre::NvalPcre(const char* pattern, int pairs, int options)
    : vu_pcre(pattern, pairs, options) {}

NvalPcre::~NvalPcre() = default;

unsigned int insertNV2List(std::list<std::pair<CharSizet_t, CharSizet_t>>& list, NvalPcre& regex,
                           const char* text, unsigned int length) {
  if (text == nullptr) return 0;
  const std::size_t bytes = length != 0 ? length : std::strlen(text);
  if (bytes > INT_MAX) failWith(kBadLength);
  const int end = static_cast<int>(bytes);
  for (int offset = 0; offset < end;) {
    const int result = regex.execute(text, end, offset, 0);
    if (result == -1) break;
    if (result <= 0) failWith(result);
    if (result == 3) {
      list.emplace_back(viewOfGroup(regex, 1, text), viewOfGroup(regex, 2, text));
    }
    const int matchEnd = regex.getContextOffset();
    offset = matchEnd > offset ? matchEnd : offset + 1;
  }
  return static_cast<unsigned int>(list.size());
}
