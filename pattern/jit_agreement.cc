// The just-in-time code and the interpreter differ, in PCRE 8 and in PCRE2 alike, where a pattern
// goes beyond groups, repetition and sets: in groups that lose what they held (possessive and
// atomic ones, assertions with groups inside, conditions), in references to a group from inside of
// it or before it, around backtracking verbs, in searches that begin with a look-ahead, and where a
// match must begin in the first line. Such errors are nobody's contract, so only what is known to
// agree is let through: one pass over the text, which takes some harmless patterns (a set such as
// "[*+]") for others, and does not try to understand extended ones, where a possessive "+" may
// stand behind blanks and comments.

#include "pattern/jit_agreement.h"

#include <cstring>

#include "vu/pattern.h"

namespace vu::detail {
namespace {

bool standsIn(char c, const char* set) noexcept {
  return c != '\0' && std::strchr(set, c) != nullptr;
}

/// Whether what stands behind a "(" agrees.
bool groupAgrees(const char* at) noexcept {
  if (*at == '*') return false;
  if (*at != '?') return true;
  ++at;
  if (at[0] == '<' && standsIn(at[1], "=!")) {
    // A look-behind of plain characters that is not repeated.
    at += 2 + std::strcspn(at + 2, "()[\\");
    return *at == ')' && !standsIn(at[1], "*+?{");
  }
  if (at[0] == '<' || (at[0] == 'P' && at[1] == '<')) return true;  // a group with a name
  at += std::strspn(at, "ims-");
  return standsIn(*at, ":)");
}

}  // namespace

bool jitAgrees(const char* pattern, int compileOptions) noexcept {
  if ((compileOptions & (vu_pcre::firstLine | vu_pcre::extended)) != 0) return false;
  for (const char* at = pattern; *at != '\0'; ++at) {
    const bool possessive = standsIn(*at, "*+?}") && at[1] == '+';
    if (*at == '\\') {
      ++at;
      if (*at == '\0' || standsIn(*at, "123456789gkQ")) return false;
    } else if (possessive || (*at == '(' && !groupAgrees(at + 1))) {
      return false;
    }
  }
  return true;
}

}  // namespace vu::detail
