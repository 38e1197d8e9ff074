// The exception type and the look-ups in tables of codes and texts.

#include <string>
#include <utility>

#include "vu/foundation.h"

vu_exception::vu_exception(const std::string& message) : message_(message) {}
vu_exception::vu_exception(vu_failure kind, const std::string& message)
    : message_(message), kind_(kind) {}
vu_exception::vu_exception(const char* message) : message_(message) {}
vu_exception::vu_exception(const vu_exception& other) = default;
vu_exception& vu_exception::operator=(const vu_exception& other) = default;
vu_exception::~vu_exception() noexcept = default;

const char* vu_exception::what() const noexcept { return message_.c_str(); }

namespace {

/// The first row below `maxIndex` that `matches`, or null. `function` names the caller in the text
/// of the exception.
template <typename Matches>
const sizeT_string_pair* findRow(const char* function, const sizeT_string_pair* table,
                                 unsigned int maxIndex, Matches matches) {
  if (maxIndex == 0) throw vu_exception(std::string(function) + ":: Maximum index undefined");
  for (; table->string != nullptr && table->value < maxIndex; ++table) {
    if (matches(*table)) return table;
  }
  return nullptr;
}

}  // namespace

unsigned int findValueByString(std::string key, const sizeT_string_pair* table,
                               unsigned int maxIndex) {
  const auto* row = findRow("findValueByString", table, maxIndex,
                            [&](const sizeT_string_pair& each) { return key == each.string; });
  if (row == nullptr) {
    throw vu_exception("findValueByString:: Index for [" + std::move(key) + "] is not found");
  }
  return row->value;
}

const char* findStringByValue(unsigned int value, const sizeT_string_pair* table,
                              unsigned int maxIndex) {
  const auto* row = findRow("findStringByValue", table, maxIndex,
                            [&](const sizeT_string_pair& each) { return value == each.value; });
  if (row == nullptr) {
    throw vu_exception("findStringByValue:: Value for index [" + val2str(value) + "] is not found");
  }
  return row->string;
}
