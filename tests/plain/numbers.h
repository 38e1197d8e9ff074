// Numbers from text by a stream: what `str2val` must agree with.

#ifndef VU_TESTS_PLAIN_NUMBERS_H_
#define VU_TESTS_PLAIN_NUMBERS_H_

#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

#include "tests/support.h"

namespace vu::test {

/// A number as text that tells it from every other one, a byte in digits.
template <typename T>
std::string exactly(T value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << std::setprecision(17) << +value;
  return out.str();
}

/// What str2val makes of a text, as text; the message in brackets when it throws.
template <typename T>
std::string convert(const std::string& text, bool flag) {
  std::string result;
  const std::string message = messageOf([&] { result = exactly(str2val<T>(text, flag)); });
  return message.empty() ? result : "<" + message + ">";
}

/// The same, told plainly; for all but `float` and texts.
template <typename T>
std::string convertPlainly(const std::string& text, bool flag) {
  constexpr bool isByte = sizeof(T) == 1;
  if (text.empty()) return isByte ? "<empty string>" : "<empty string T>";
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  if (flag || text.compare(0, 2, "0x") == 0) stream >> std::hex;
  std::conditional_t<isByte, int, T> value{};
  if (stream >> value) return exactly(static_cast<T>(value));
  if (isByte) return "<bad conversion>";
  return "<" + upToNul("bad conversion [" + text + "]") + ">";
}

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_NUMBERS_H_
