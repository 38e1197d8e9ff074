// The typed store. Every write is staged first, where it may fail, and then put in place, which
// cannot.

#include "vu/config.h"

#include <cstring>
#include <exception>
#include <utility>

#include "config/settings.h"

namespace {

using vu::detail::Setting;
using vu::detail::settingOf;
using vu::detail::Settings;

/// The entry of a name; a null name and a store without a map have none.
const Setting* find(const std::unique_ptr<Settings>& settings, const char* name) noexcept {
  return settings != nullptr ? settings->find(name) : nullptr;
}

[[noreturn]] void refuseUnknown(const char* name) {
  throw vu_exception(vu_failure::settings, std::string("Unknown Get Parameter [") +
                                               (name != nullptr ? name : "NULL") + "]");
}

/// Throws for an unknown name.
const Setting& get(const std::unique_ptr<Settings>& settings, const char* name) {
  const Setting* const known = find(settings, name);
  if (known == nullptr) refuseUnknown(name);
  return *known;
}

Settings& made(std::unique_ptr<Settings>& settings) {
  if (settings == nullptr) settings = std::make_unique<Settings>();
  return *settings;
}

/// Runs a read. Only vu_exception leaves it; anything else, such as for want of memory for its
/// text, ends the process: callers count on reads that fail in no other way.
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

/// The value of a setting, which must have one of these letters; null: that of a text.
config_value valueAs(const char* letters, const Setting& setting) {
  const char type = setting.stored.type;
  const bool isRight = letters == nullptr ? setting.kind == Setting::text
                                          : type != 0 && std::strchr(letters, type) != nullptr;
  if (!isRight) {
    throw failureOf(setting, vu_failure::settings,
                    "wrong type [" + std::string(type != 0 ? 1 : 0, type) + "]");
  }
  checkReadable(setting);
  return valueOf(setting);
}

}  // namespace

vu_config::vu_config() noexcept = default;
vu_config::vu_config(const config_helper* records) { configParams(records); }
vu_config::vu_config(const vu_config& other)
    : confMap_(other.confMap_ ? std::make_unique<Settings>(*other.confMap_) : nullptr) {}
vu_config::vu_config(vu_config&& other) noexcept = default;
vu_config& vu_config::operator=(vu_config other) noexcept {
  confMap_.swap(other.confMap_);
  return *this;
}
vu_config::~vu_config() = default;

void vu_config::initConfig(int argc, char* const* argv, const void* table) {
  configParams(vu_getopt(argc, argv, static_cast<const vu_opt_helper*>(table)));
}

void vu_config::reload(int argc, char* const* argv, const void* table) {
  const vu_getopt parser(argc, argv, static_cast<const vu_opt_helper*>(table));
  Settings staged(static_cast<std::size_t>(parser.optCount()));
  for (int row = 0; row < parser.optCount(); ++row) {
    const config_helper& record = parser.params()[row];
    const Setting* const known = find(confMap_, record.name);
    if (known != nullptr && known->origin.empty()) continue;
    std::unique_ptr<Setting> setting = settingOf(record, parser.origin(row));
    checkReadable(*setting);
    staged.set(std::move(setting));
  }
  made(confMap_).setAll(staged);
}

int vu_config::configParams(const vu_getopt& parser) {
  Settings staged(static_cast<std::size_t>(parser.optCount()));
  for (int row = 0; row < parser.optCount(); ++row) {
    staged.set(settingOf(parser.params()[row], parser.origin(row)));
  }
  made(confMap_).setAll(staged);
  return parser.optCount();
}

int vu_config::configParams(const config_helper* records) {
  if (records == nullptr) return 0;
  Settings staged;
  int count = 0;
  for (; records[count].name != nullptr; ++count) {
    staged.set(settingOf(records[count], "loaded by program"));
  }
  made(confMap_).setAll(staged);
  return count;
}

void vu_config::setConfParam(const config_helper* record) {
  if (record == nullptr) return;
  if (record->name == nullptr) {
    throw vu_exception(vu_failure::settings, "vu_config::setConfParam: Null name");
  }
  made(confMap_).set(settingOf(*record, {}));
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
    const config_obj& stored = ::get(confMap_, name).stored;
    type = stored.type;
    return stored.value;
  });
}

config_value vu_config::getConfItem(const char* name) const {
  return readOrDie([&] {
    const Setting* const known = find(confMap_, name);
    if (known == nullptr) throw vu_exception(vu_failure::settings, "unknown parameter");
    return valueOf(*known);
  });
}

template <>
int vu_config::get<int>(const char* name) const {
  return valueAs("d", ::get(confMap_, name)).asInt;
}
template <>
double vu_config::get<double>(const char* name) const {
  return valueAs("e", ::get(confMap_, name)).asDouble;
}
template <>
unsigned int vu_config::get<unsigned int>(const char* name) const {
  return valueAs("l", ::get(confMap_, name)).asUInt;
}
template <>
unsigned short vu_config::get<unsigned short>(const char* name) const {
  return valueAs("pu", ::get(confMap_, name)).asUShort;
}
template <>
std::string vu_config::get<std::string>(const char* name) const {
  return valueAs(nullptr, ::get(confMap_, name)).asText;
}

void vu_config::check() const {
  if (confMap_ == nullptr) return;
  for (const auto& each : confMap_->entries()) checkReadable(*each);
}

void vu_config::check(const char* name) const { checkReadable(::get(confMap_, name)); }

std::string vu_config::origin(const char* name) const {
  const std::string& origin = ::get(confMap_, name).origin;
  return !origin.empty() ? origin : vu::detail::kSetByProgram;
}
