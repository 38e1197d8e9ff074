// The typed store. Every write is staged in a map of its own first, where it may fail, and then put
// in place by moving nodes and swapping texts, which cannot.

#include "vu/config.h"

#include <cstring>
#include <exception>
#include <utility>

namespace {

using Entries = std::map<std::string, config_obj>;
using Origins = std::map<std::string, std::string>;

/// The entry of a name; a null name has none.
Entries::const_iterator find(const Entries& entries, const char* name) {
  return name != nullptr ? entries.find(name) : entries.end();
}

[[noreturn]] void refuseUnknown(const char* name) {
  throw vu_exception(std::string("Unknown Get Parameter [") + (name != nullptr ? name : "NULL") +
                     "]");
}

/// Adds what a record comes to.
void stage(const config_helper& record, Entries& staged) {
  if (record.type == 'b') {
    staged[record.name] = config_obj('d', val2str(flagCount(record.value)));
    return;
  }
  if (record.value == nullptr) {
    throw vu_exception(std::string("Null value for parameter [") + record.name + "]");
  }
  staged[record.name] = config_obj(record.type, record.value);
}

/// Adds every row of the table, as the command line leaves it.
void parse(int argc, char* const* argv, void* table, Entries& staged, Origins& origins) {
  const vu_getopt parser(argc, argv, static_cast<vu_opt_helper*>(table));
  for (int row = 0; row < parser.optCount(); ++row) {
    const config_helper& record = parser.params()[row];
    stage(record, staged);
    origins[record.name] = parser.origin(row);
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
void vu_config::put(Entries& staged, Origins& origins) noexcept {
  for (auto& [name, entry] : staged) {
    const auto known = confMap_.find(name);
    if (known == confMap_.end()) continue;
    std::swap(known->second.type, entry.type);
    known->second.value.swap(entry.value);
    if (origins.count(name) == 0) origins_.erase(name);
  }
  for (auto& [name, origin] : origins) {
    const auto known = origins_.find(name);
    if (known != origins_.end()) known->second.swap(origin);
  }
  confMap_.merge(staged);
  origins_.merge(origins);
}

void vu_config::initConfig(int argc, char* const* argv, void* table) {
  Entries staged;
  Origins origins;
  parse(argc, argv, table, staged, origins);
  put(staged, origins);
}

void vu_config::reload(int argc, char* const* argv, void* table) {
  Entries staged;
  Origins origins;
  parse(argc, argv, table, staged, origins);
  for (const auto& [name, entry] : confMap_) {
    if (origins_.count(name) != 0) continue;
    staged.erase(name);
    origins.erase(name);
  }
  put(staged, origins);
}

int vu_config::configParams(const config_helper* records) {
  if (records == nullptr) return 0;
  Entries staged;
  int count = 0;
  for (; records[count].name != nullptr; ++count) stage(records[count], staged);
  Origins none;
  put(staged, none);
  return count;
}

void vu_config::setConfParam(const config_helper* record) {
  if (record == nullptr) return;
  if (record->name == nullptr) throw vu_exception("vu_config::setConfParam: Null name");
  Entries staged;
  stage(*record, staged);
  Origins none;
  put(staged, none);
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
    type = entry->second.type;
    return entry->second.value;
  });
}

config_value vu_config::getConfItem(const char* name) const {
  config_value result;
  std::memset(&result, 0, sizeof result);
  readOrDie([&] {
    const auto entry = find(confMap_, name);
    if (entry == confMap_.end()) throw vu_exception("unknown parameter");
    const std::string& text = entry->second.value;
    switch (entry->second.type) {
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
  if (find(confMap_, name) == confMap_.end()) refuseUnknown(name);
  const auto known = origins_.find(name);
  return known != origins_.end() ? known->second : "set by program";
}
