// PCRE's two engines differ where a pattern goes beyond groups, repetition and sets: in groups that
// lose what they held (possessive and atomic ones, assertions with groups inside, conditions), in
// references to a group from inside of it or before it, around backtracking verbs, in searches
// that begin with a look-ahead, and in PCRE_FIRSTLINE. The engines' errors are nobody's contract,
// so only what is known to agree is let through: one pass over the text, which takes some harmless
// patterns (a set such as "[*+]") for others, and does not try to understand PCRE_EXTENDED, where a
// possessive "+" may stand behind blanks and comments.

#include "pattern/jit_agreement.h"

#include <pcre.h>

#include <cstring>

namespace vu::detail {
namespace {

bool isOneOf(char c, const char* set) noexcept {
  return c != '\0' && std::strchr(set, c) != nullptr;
}

/// Whether what stands behind a "(" agrees.
bool groupAgrees(const char* at) noexcept {
  if (*at == '*') return false;
  if (*at != '?') return true;
  ++at;
  if (at[0] == '<' && isOneOf(at[1], "=!")) {
    // A look-behind of plain characters that is not repeated.
    at += 2 + std::strcspn(at + 2, "()[\\");
    return *at == ')' && !isOneOf(at[1], "*+?{");
  }
  if (at[0] == '<' || (at[0] == 'P' && at[1] == '<')) return true;  // a group with a name
  at += std::strspn(at, "ims-");
  return isOneOf(*at, ":)");
}

}  // namespace

bool jitAgrees(const char* pattern, int compileOptions) noexcept {
  if ((compileOptions & (PCRE_FIRSTLINE | PCRE_EXTENDED)) != 0) return false;
  for (const char* at = pattern; *at != '\0'; ++at) {
    const bool possessive = isOneOf(*at, "*+?}") && at[1] == '+';
    if (*at == '\\') {
      ++at;
      if (*at == '\0' || isOneOf(*at, "123456789gkQ")) return false;
    } else if (possessive || (*at == '(' && !groupAgrees(at + 1))) {
      return false;
    }
  }
  return true;
}

}  // namespace vu::detail
