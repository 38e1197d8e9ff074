// What a table tells of itself, for C.

#include <cstdio>
#include <cstring>

#include "c/table.h"
#include "vu/c.h"

namespace {

/// Days from the beginning of 1970 to a date of the Gregorian calendar: years begin in March here,
/// so that a leap day is the last of its year.
std::int64_t daysTo(int year, int month, int day) noexcept {
  const std::int64_t years = std::int64_t{year} - (month <= 2 ? 1 : 0);
  const int monthsFromMarch = (month + 9) % 12;
  const std::int64_t days = (153 * monthsFromMarch + 2) / 5 + day - 1;
  return years * 365 + years / 4 - years / 100 + years / 400 + days - 719468;
}

/// When a version such as "2024-05-01_07-09-51_UTC" was made; -1 for any other.
std::int64_t timeOf(const std::string& version) noexcept {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int end = 0;
  if (std::sscanf(version.c_str(), "%4d-%2d-%2d_%2d-%2d-%2d_UTC%n", &year, &month, &day, &hour,
                  &minute, &second, &end) != 6 ||
      end == 0 || year < 1970 || month < 1 || month > 12) {
    return -1;
  }
  const std::int64_t hours = daysTo(year, month, day) * 24 + hour;
  return (hours * 60 + minute) * 60 + second;
}

vu_text textOf(const std::string& text) noexcept { return {text.data(), text.size()}; }

}  // namespace

int vu_table_describe(const vu_table* table, vu_table_description* description,
                      size_t description_size) {
  if (table == nullptr || description == nullptr || description_size < sizeof *description) {
    return VU_ERROR_ARGUMENT;
  }
  std::memset(description, 0, description_size);
  description->version = textOf(table->facts.version);
  description->commit = textOf(table->facts.commit);
  const std::int64_t made = timeOf(table->facts.version);
  description->made = made >= 0 ? made : table->changed;
  description->icann = table->facts.icann;
  description->private_domains = table->facts.privateDomains;
  description->none = table->facts.none;
  return VU_OK;
}
