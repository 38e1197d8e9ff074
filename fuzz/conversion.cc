// Text and numbers: str2val against streams, val2str against printf.
//
// Input: which flag, precision; then a text.

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "fuzz/support.h"
#include "tests/plain/numbers.h"

namespace vu::fuzz {
namespace {

template <typename... Types>
void readAs(const std::string& text, bool flag) {
  (expectEqual(test::convertPlainly<Types>(text, flag), test::convert<Types>(text, flag), text),
   ...);
}

std::string floatPlainly(const std::string& text, bool flag) {
  char* stop = nullptr;
  const double value = std::strtod(text.c_str(), &stop);
  if (!flag && stop != text.c_str() + text.size()) return "<Impure float value>";
  return test::exactly(static_cast<float>(value));
}

template <typename... Arguments>
std::string printed(const char* format, Arguments... arguments) {
  char text[512];
  const int size = std::snprintf(text, sizeof text, format, arguments...);
  return {text, static_cast<std::size_t>(size)};
}

template <typename T>
void writeInteger(T value) {
  expectEqual(std::to_string(value), val2str(value), "decimal");
  expectEqual(std::to_string(value), val2str(value, 3), "with a precision");
  const unsigned long long magnitude = static_cast<std::make_unsigned_t<T>>(value);
  expectEqual(printed("%llx", magnitude), val2str(value, -1, std::hex), "hexadecimal");
  expectEqual(value, str2val<T>(val2str(value)), "there and back");
}

void writeDouble(double value, int precision) {
  expectEqual(precision < 0 ? printed("%g", value) : printed("%.*f", precision, value),
              val2str(value, precision), "double");
  if (value - value == 0) {
    expectEqual(value, str2val<double>(printed("%.17g", value)), "finite, there and back");
  }
}

void writeNumbers(const std::string& text, int precision) {
  unsigned long long bits = 0;
  double real = 0;
  std::memcpy(&bits, text.data(), std::min(text.size(), sizeof bits));
  std::memcpy(&real, &bits, sizeof real);
  writeDouble(real, precision);
  writeInteger(bits);
  writeInteger(static_cast<long>(bits));
  writeInteger(static_cast<int>(bits));
  writeInteger(static_cast<unsigned int>(bits));
  writeInteger(static_cast<unsigned short>(bits));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const bool flag = input.choice(2) == 1;
  const int small = static_cast<int>(input.choice(20)) - 1;
  const std::string text = input.rest();
  readAs<short, unsigned short, int, unsigned int, long, unsigned long, long long,
         unsigned long long, double, unsigned char, signed char>(text, flag);
  expectEqual(floatPlainly(text, flag), test::convert<float>(text, flag), text);
  expectEqual(text, str2val<std::string>(text, flag), "a text");
  writeNumbers(text, small);
  return 0;
}

}  // namespace vu::fuzz
