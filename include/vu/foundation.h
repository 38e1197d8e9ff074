// The ground that the rest of the library stands on: its one exception type, the service's status
// codes, conversion between text and numbers, and a few small helpers.
//
//   try {
//     int port = str2val<int>("8080");                                 // 8080
//     std::string text = val2str(port, -1, std::hex);                  // "1f90"
//     const char* meaning = statusText(999);                              // "URL Not Found"
//     unsigned int code = findValueByString(meaning, statusTable, VU_STATUS_BOUND);  // 999
//   } catch (const vu_exception& failure) {
//     std::cerr << failure.what() << '\n';
//   }
//
// Threads:  nothing here keeps state; every function may run in any number of threads at once.
// Errors:   every failure is a vu_exception: its text, and what kind of failure it is.
// Locale:   results never depend on the locale that the process has set.

#ifndef VU_FOUNDATION_H_
#define VU_FOUNDATION_H_

#include <sys/time.h>
#include <time.h>

#include <charconv>
#include <cstdint>
#include <exception>
#include <iomanip>
#include <ios>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "vu/export.h"

// ---------------------------------------------------------------------------------------------
// The exception

/// What a failure is about, for programs that go on differently after different ones.
enum class vu_failure : std::uint8_t {
  other,     ///< None of those below.
  number,    ///< A text that should be a number is none.
  pattern,   ///< A regular expression, or a search with it.
  xml,       ///< A fragment of XML, or its tree.
  usage,     ///< The command line: the text is the usage text.
  settings,  ///< A setting's name or value, but for a bad number.
  file,      ///< A file that cannot be opened or read, or whose content is refused.
  domain,    ///< A URL without a domain.
  cipher,    ///< Enciphering or deciphering.
  lock       ///< A guard without a lock.
};

/// The only exception type of the library. Thrown by value, caught by reference.
class [[nodiscard]] VU_EXPORT vu_exception : public std::exception {
 public:
  /// Keeps a copy of `message`, the complete text of the failure.
  explicit vu_exception(const std::string& message);
  /// The same for a failure of some kind.
  vu_exception(vu_failure kind, const std::string& message);
  /// The same from a NUL-terminated text; null is outside the contract.
  explicit vu_exception(const char* message);
  /// Copies the text.
  vu_exception(const vu_exception& other);
  /// Copies the text.
  vu_exception& operator=(const vu_exception& other);
  ~vu_exception() noexcept override;

  /// The text; valid as long as this object lives.
  const char* what() const noexcept override;

  /// What the failure is about; `other` where the thrower did not say.
  vu_failure kind() const noexcept { return kind_; }

 private:
  std::string message_;
  vu_failure kind_ = vu_failure::other;
};

// ---------------------------------------------------------------------------------------------
// Status codes

/// The service's result codes. libvu itself gives 0 and 201 to 204; the others are what the service
/// answers its clients.
enum vu_status : std::uint32_t {
  VU_SUCCESS = 0,
  VU_QUERY_TYPE_NOT_FOUND = 101,
  VU_COUNTRY_CODE_NOT_INITIALISED = 200,
  VU_COUNTRY_CODE_EMPTY_URL = 201,
  VU_COUNTRY_CODE_NOT_A_DOMAIN = 202,
  VU_COUNTRY_CODE_TOO_SHORT = 203,
  VU_COUNTRY_CODE_PURE_DOMAIN = 204,
  VU_URL_NOT_FOUND = 999,
  VU_REPUTATION_ERROR_TYPE = 1000,
  VU_REPUTATION_BELOW_THRESHOLD = 1001,
  VU_COMPUTE_REPUTATION = 1002,
  VU_MALFORMED_URL = 1003,
  VU_WEB_UNKNOWN_ERROR = 10000
};

/// One row of a table of codes and their texts.
struct sizeT_string_pair {
  std::uint32_t value;  ///< The code.
  const char* string;   ///< Its text, not owned; null in the row that ends a table.
};

/// The status codes with their texts, in ascending order, ended by a row without text.
inline constexpr sizeT_string_pair statusTable[] = {
    {VU_SUCCESS, "OPERATION SUCCESS"},
    {VU_QUERY_TYPE_NOT_FOUND, "QUERY_TYPE_NOT_FOUND"},
    {VU_COUNTRY_CODE_NOT_INITIALISED, "COUNTRY CODE NOT INITIALISED"},
    {VU_COUNTRY_CODE_EMPTY_URL, "COUNTRY CODE - EMPTY URL"},
    {VU_COUNTRY_CODE_NOT_A_DOMAIN, "COUNTRY CODE - NOT A DOMAIN"},
    {VU_COUNTRY_CODE_TOO_SHORT, "COUNTRY CODE - TOO SHORT"},
    {VU_COUNTRY_CODE_PURE_DOMAIN, "COUNTRY CODE - PURE DOMAIN"},
    {VU_URL_NOT_FOUND, "URL Not Found"},
    {VU_REPUTATION_ERROR_TYPE, "REPUTATION ERROR TYPE"},
    {VU_REPUTATION_BELOW_THRESHOLD, "REPUTATION BELOW THRESHOLD"},
    {VU_COMPUTE_REPUTATION, "COMPUTE REPUTATION"},
    {VU_MALFORMED_URL, "MALFORMED URL"},
    {VU_WEB_UNKNOWN_ERROR, "WEB UNKNOWN ERROR"},
    {0, nullptr}};

/// The text of a status; "unknown status" for a number that is none.
constexpr const char* statusText(std::uint32_t status) noexcept {
  for (const sizeT_string_pair& row : statusTable) {
    if (row.string != nullptr && row.value == status) return row.string;
  }
  return "unknown status";
}

/// The bound to search all of statusTable with.
inline constexpr unsigned int VU_STATUS_BOUND = VU_WEB_UNKNOWN_ERROR + 1;

/// The code of a text in `table`, an array of rows in ascending order of `value` that ends with a
/// row without text. `maxIndex` is an exclusive bound on the codes (not on the row numbers): the
/// search ends at the first row whose code reaches it. The comparison is exact, case included.
///
/// Throws vu_exception:
///   "findValueByString:: Maximum index undefined"               when maxIndex is 0;
///   "findValueByString:: Index for [" + key + "] is not found"  when no row below it has the text.
VU_EXPORT unsigned int findValueByString(std::string key, const sizeT_string_pair* table,
                                         unsigned int maxIndex);

/// The text of a code in `table`, by the same rules. The result points into the table.
///
/// Throws vu_exception:
///   "findStringByValue:: Maximum index undefined"                when maxIndex is 0;
///   "findStringByValue:: Value for index [" + value + "] is not found"  when no row below has it.
VU_EXPORT const char* findStringByValue(unsigned int value, const sizeT_string_pair* table,
                                        unsigned int maxIndex);

// ---------------------------------------------------------------------------------------------
// Text and numbers

/// The number at the start of `text`, as `stream >> value` reads it: leading white space is
/// skipped, a sign is accepted, what follows the number is ignored. With `flag`, or when the text
/// begins with exactly "0x", integers are read as hexadecimal, with or without "0x" or "0X" in
/// front; `double` is always decimal. T is an integer type that a stream reads in digits (`short`
/// to `unsigned long long`), double, or any other type that has `operator>>`.
///
/// Throws vu_exception:
///   "empty string T"                    when text is empty;
///   "bad conversion [" + text + "]"     when there is no number, or one that T cannot hold;
/// and what memory and T's own operator throw.
template <typename T>
[[nodiscard]] T str2val(const std::string& text, bool flag = false);
/// A base, as strtol takes one, is no flag: 10 would mean hexadecimal.
template <typename T, typename Flag, std::enable_if_t<!std::is_same_v<Flag, bool>, int> = 0>
T str2val(const std::string& text, Flag flag) = delete;

/// A byte, read as an `int` (so "65" is 65, not '6') and cut to its low 8 bits: "300" is 44.
/// Throws vu_exception "empty string" or "bad conversion".
template <>
[[nodiscard]] VU_EXPORT unsigned char str2val<unsigned char>(const std::string& text, bool flag);
/// The same with the low 8 bits as a signed byte: "200" is -56.
template <>
[[nodiscard]] VU_EXPORT signed char str2val<signed char>(const std::string& text, bool flag);

/// A float, read as `strtod` reads the whole text (so "inf", "nan" and "0x1p4" are numbers here)
/// and narrowed; beyond the range of float it is an infinity, and an empty text is 0.
/// `flag` allows other characters behind the number, or in place of it, which is then 0.
/// Throws vu_exception "Impure float value" when something follows the number and may not.
template <>
[[nodiscard]] VU_EXPORT float str2val<float>(const std::string& text, bool flag);

/// A copy of the text; never fails, the flag is ignored.
template <>
[[nodiscard]] VU_EXPORT std::string str2val<std::string>(const std::string& text, bool flag);

/// `value` as text, as `stream << value` writes it: first in fixed notation with `precision` digits
/// when that is 0 or more, then through `manipulator` (such as std::hex) when there is one. Neither
/// notation nor precision touches an integer. Throws only what memory and T's own operator throw.
template <typename T>
std::string val2str(T value, int precision = -1,
                    std::ios_base& (*manipulator)(std::ios_base&) = nullptr);

/// Whether `value` lies less than `tolerance` away from `reference`; at the edge it does not.
/// The sums are exact to double precision at least.
VU_EXPORT bool close2Val(float reference, float value, float tolerance);

// ---------------------------------------------------------------------------------------------
// Small helpers; none of them throws but for memory

/// Moves `*cursor` past white space (blank, tab, line feed, vertical tab, form feed, carriage
/// return), counting `remaining`, the bytes left from the cursor, down. Stops when that reaches 0.
VU_EXPORT void skipSpace(const char** cursor, unsigned int& remaining);

/// `count` bytes as lower-case hexadecimal digits, two a byte: "0aff00". With `formatted` each is
/// written "0x0a", one blank apart, with a line end after every `perLine`-th byte; a `perLine` of 0
/// or less means no line ends. A `count` of 0 or less gives "".
VU_EXPORT std::string printHexical(const unsigned char* bytes, int count, int perLine,
                                   bool formatted);

/// `end` minus `start`, in microseconds or in seconds. A fraction that is smaller at the end
/// borrows a second; seconds that are then negative count as 0, the fraction stays.
VU_EXPORT double TimeDifference(const timeval& end, const timeval& start, bool microseconds);
/// The same of times with nanoseconds. Microseconds are cut to whole ones, seconds have full
/// resolution.
VU_EXPORT double TimeDifference(const timespec& end, const timespec& start, bool microseconds);

/// The number of decimal digits of `value`, 1 to 10.
VU_EXPORT unsigned int numericLength(unsigned int value);

// ---------------------------------------------------------------------------------------------
// How the general forms of str2val and val2str work: integers are read and written directly by the
// rules of a stream in the classic locale, `double` by the routine that such a stream ends in, any
// other type through the stream itself.

namespace vu::detail {

template <typename T, typename... Types>
inline constexpr bool isOneOf = (std::is_same_v<T, Types> || ...);

/// The types whose stream operators mean "an integer in digits".
template <typename T>
inline constexpr bool isInteger = isOneOf<T, short, unsigned short, int, unsigned int, long,
                                          unsigned long, long long, unsigned long long>;

/// White space of the classic locale.
constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Reads a double as a stream does. False leaves `value` unspecified.
VU_EXPORT bool readDouble(const std::string& text, double& value);

template <typename T>
bool readInteger(std::string_view text, bool hex, T& value) {
  using Magnitude = std::make_unsigned_t<T>;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end && isSpace(*at)) ++at;
  const bool negative = at != end && *at == '-';
  if (at != end && (*at == '-' || *at == '+')) ++at;
  if (hex && end - at >= 2 && at[0] == '0' && (at[1] == 'x' || at[1] == 'X')) at += 2;
  Magnitude magnitude = 0;
  if (std::from_chars(at, end, magnitude, hex ? 16 : 10).ec != std::errc()) return false;
  if (std::is_signed_v<T>) {
    const auto largest = static_cast<Magnitude>(std::numeric_limits<T>::max());
    if (magnitude > static_cast<Magnitude>(largest + (negative ? 1 : 0))) return false;
  }
  // A stream negates unsigned numbers too, modulo 2^n.
  value = static_cast<T>(negative ? static_cast<Magnitude>(0 - magnitude) : magnitude);
  return true;
}

template <typename T>
bool readByStream(const std::string& text, bool hex, T& value) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  if (hex) stream >> std::hex;
  // A stream would take memory that runs out for a bad number.
  stream.exceptions(std::ios_base::badbit);
  try {
    stream >> value;
  } catch (const std::ios_base::failure&) {
    return false;  // T's own operator says so
  }
  return !stream.fail();
}

template <typename T>
std::string writeByStream(const T& value, int precision,
                          std::ios_base& (*manipulator)(std::ios_base&)) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  if (precision >= 0) stream << std::fixed << std::setprecision(precision);
  if (manipulator != nullptr) stream << manipulator;
  // A stream would cut the text off where memory runs out.
  stream.exceptions(std::ios_base::badbit);
  try {
    stream << value;
  } catch (const std::ios_base::failure&) {
    // T's own operator has stopped: what it has written counts.
  }
  return stream.str();
}

}  // namespace vu::detail

template <typename T>
T str2val(const std::string& text, bool flag) {
  if (text.empty()) throw vu_exception(vu_failure::number, "empty string T");
  const bool hex = flag || (text[0] == '0' && text[1] == 'x');
  T value{};
  bool good = false;
  if constexpr (vu::detail::isInteger<T>) {
    good = vu::detail::readInteger(text, hex, value);
  } else if constexpr (std::is_same_v<T, double>) {
    good = vu::detail::readDouble(text, value);
  } else {
    good = vu::detail::readByStream(text, hex, value);
  }
  if (!good) throw vu_exception(vu_failure::number, "bad conversion [" + text + "]");
  return value;
}

template <typename T>
std::string val2str(T value, int precision, std::ios_base& (*manipulator)(std::ios_base&)) {
  if constexpr (vu::detail::isInteger<T>) {
    if (manipulator == nullptr) {
      char digits[24];
      return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    }
  }
  return vu::detail::writeByStream(value, precision, manipulator);
}

// ---------------------------------------------------------------------------------------------
// How TimeDifference works. On a 32-bit system the width of a time is the choice of each program,
// so it must not be what the library was built with: always inline, it is converted on the caller's
// side.

namespace vu::detail {

/// A time in seconds and a count of smaller units.
struct Moment {
  std::int64_t seconds;
  std::int64_t fraction;
};

/// TimeDifference, with fractions that count `perSecond` units.
VU_EXPORT double differenceOf(const Moment& end, const Moment& start, int perSecond,
                              bool microseconds);

}  // namespace vu::detail

[[gnu::always_inline]] inline double TimeDifference(const timeval& end, const timeval& start,
                                                    bool microseconds) {
  return vu::detail::differenceOf({end.tv_sec, end.tv_usec}, {start.tv_sec, start.tv_usec}, 1000000,
                                  microseconds);
}

[[gnu::always_inline]] inline double TimeDifference(const timespec& end, const timespec& start,
                                                    bool microseconds) {
  return vu::detail::differenceOf({end.tv_sec, end.tv_nsec}, {start.tv_sec, start.tv_nsec},
                                  1000000000, microseconds);
}

#endif  // VU_FOUNDATION_H_
