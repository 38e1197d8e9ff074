// The typed store. Every write is staged in a map of its own first, where it may fail, and then put
// in place by moving nodes and swapping texts, which cannot.

#include "vu/config.h"

#include <cstring>
#include <exception>
#include <utility>

namespace {

using vu::detail::Setting;
using vu::detail::Settings;

/// The entry of a name; a null name has none.
Settings::const_iterator find(const Settings& settings, const char* name) {
  return name != nullptr ? settings.find(name) : settings.end();
}

[[noreturn]] void refuseUnknown(const char* name) {
  throw vu_exception(std::string("Unknown Get Parameter [") + (name != nullptr ? name : "NULL") +
                     "]");
}

/// What a record comes to.
config_obj objectOf(const config_helper& record) {
  if (record.type == 'b') return {'d', val2str(flagCount(record.value))};
  if (record.value == nullptr) {
    throw vu_exception(std::string("Null value for parameter [") + record.name + "]");
  }
  return {record.type, record.value};
}

void stage(const config_helper& record, std::string origin, Settings& staged) {
  staged.insert_or_assign(record.name, Setting{objectOf(record), std::move(origin)});
}

/// Adds every row of the table, as the command line leaves it.
void parse(int argc, char* const* argv, void* table, Settings& staged) {
  const vu_getopt parser(argc, argv, static_cast<vu_opt_helper*>(table));
  for (int row = 0; row < parser.optCount(); ++row) {
    stage(parser.params()[row], parser.origin(row), staged);
  }
}

/// Runs a read. Only vu_exception leaves it; anything else, such as for want of memory, ends the
/// process: callers count on reads that fail in no other way.
template <typename Read>
auto readOrDie(Read read) -> decltype(read()) {
  try {
    return read();
  } catch (const vu_exception&) {
    throw;
  } catch (...) {
    std::terminate();
  }
}

}  // namespace

vu_config::vu_config(const config_helper* records) { configParams(records); }

/// Cannot fail: what is new comes over as it is, what is known takes the new text and keeps its
/// place, so that references to it stay valid.
void vu_config::put(Settings& staged) noexcept {
  if (confMap_.empty()) {
    confMap_.swap(staged);
    return;
  }
  for (auto& [name, setting] : staged) {
    const auto known = confMap_.find(name);
    if (known == confMap_.end()) continue;
    std::swap(known->second.stored.type, setting.stored.type);
    known->second.stored.value.swap(setting.stored.value);
    known->second.origin.swap(setting.origin);
  }
  confMap_.merge(staged);
}

void vu_config::initConfig(int argc, char* const* argv, void* table) {
  Settings staged;
  parse(argc, argv, table, staged);
  put(staged);
}

void vu_config::reload(int argc, char* const* argv, void* table) {
  Settings staged;
  parse(argc, argv, table, staged);
  for (const auto& [name, setting] : confMap_) {
    if (setting.origin.empty()) staged.erase(name);
  }
  put(staged);
}

int vu_config::configParams(const config_helper* records) {
  if (records == nullptr) return 0;
  Settings staged;
  int count = 0;
  for (; records[count].name != nullptr; ++count) stage(records[count], {}, staged);
  put(staged);
  return count;
}

void vu_config::setConfParam(const config_helper* record) {
  if (record == nullptr) return;
  if (record->name == nullptr) throw vu_exception("vu_config::setConfParam: Null name");
  Settings staged;
  stage(*record, {}, staged);
  put(staged);
}

void vu_config::setParam(const char* name, const char* value, char type) {
  const config_helper record{name, type, value};
  setConfParam(&record);
}

const std::string& vu_config::getParam(const char* name) const {
  char type = 0;
  return getParam(name, type);
}

const std::string& vu_config::getParam(const char* name, char& type) const {
  type = 0;
  return readOrDie([&]() -> const std::string& {
    const auto entry = find(confMap_, name);
    if (entry == confMap_.end()) refuseUnknown(name);
    type = entry->second.stored.type;
    return entry->second.stored.value;
  });
}

config_value vu_config::getConfItem(const char* name) const {
  config_value result;
  // Whichever member a caller reads, it is 0: so are all bytes of a double that is 0.
  // cppcheck-suppress memsetClassFloat
  std::memset(&result, 0, sizeof result);
  readOrDie([&] {
    const auto entry = find(confMap_, name);
    if (entry == confMap_.end()) throw vu_exception("unknown parameter");
    const std::string& text = entry->second.stored.value;
    switch (entry->second.stored.type) {
      case 0:
        break;
      case 'd':
        result.asInt = str2val<int>(text);
        break;
      case 'e':
        result.asDouble = str2val<double>(text);
        break;
      case 'l':
        result.asUInt = str2val<unsigned int>(text);
        break;
      case 'p':
        result.asUShort = str2val<unsigned short>(text);
        break;
      case 'u':
        result.asUShort = static_cast<unsigned short>(str2val<unsigned int>(text));
        break;
      default:
        result.asText = text.c_str();
    }
  });
  return result;
}

std::string vu_config::origin(const char* name) const {
  const auto known = find(confMap_, name);
  if (known == confMap_.end()) refuseUnknown(name);
  const std::string& origin = known->second.origin;
  return !origin.empty() ? origin : "set by program";
}
