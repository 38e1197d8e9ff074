#include "config/settings.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace vu::detail {

namespace {

/// A value of which every byte is zero, whichever member is read.
config_value nothing() {
  config_value value;
  // So are all bytes of a double that is 0.
  // cppcheck-suppress memsetClassFloat
  std::memset(&value, 0, sizeof value);
  return value;
}

/// Converts a text by its letter; zero for a letter that is not a number's. Throws as str2val.
config_value numberOf(const config_obj& stored) {
  config_value number = nothing();
  switch (stored.type) {
    case 'd':
      number.asInt = str2val<int>(stored.value);
      break;
    case 'e':
      number.asDouble = str2val<double>(stored.value);
      break;
    case 'l':
      number.asUInt = str2val<unsigned int>(stored.value);
      break;
    case 'p':
      number.asUShort = str2val<unsigned short>(stored.value);
      break;
    case 'u':
      number.asUShort = static_cast<unsigned short>(str2val<unsigned int>(stored.value));
      break;
    default:
      break;
  }
  return number;
}

/// Takes over all but the name. The entry keeps its place, and so does its text's object.
void replace(Setting& known, Setting& by) noexcept {
  std::swap(known.stored.type, by.stored.type);
  known.stored.value.swap(by.stored.value);
  known.origin.swap(by.origin);
  known.value = by.value;
  known.kind = by.kind;
}

Setting::Kind kindOf(char type) {
  switch (type) {
    case 0:
      return Setting::none;
    case 'd':
    case 'e':
    case 'l':
    case 'p':
    case 'u':
      return Setting::number;
    default:
      return Setting::text;
  }
}

template <typename Word>
std::uint64_t wordAt(const char* at) {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

/// Of the first and the last bytes, which overlap in a short name, and its length. Names that are
/// alike in all that are told apart by comparing them.
std::size_t hashOf(std::string_view name) {
  const char* const first = name.data();
  const std::size_t size = name.size();
  std::uint64_t bits = size;
  if (size >= 8) {
    bits += wordAt<std::uint64_t>(first) * 31 + wordAt<std::uint64_t>(first + size - 8);
  } else if (size >= 4) {
    bits += wordAt<std::uint32_t>(first) * 31 + wordAt<std::uint32_t>(first + size - 4);
  } else {
    for (const char each : name) bits = bits * 31 + static_cast<unsigned char>(each);
  }
  bits *= 0x9e3779b97f4a7c15;  // what differs anywhere, differs in the upper half
  return static_cast<std::size_t>(bits >> 32);
}

}  // namespace

std::unique_ptr<Setting> settingOf(const config_helper& record, std::string origin) {
  auto setting = std::make_unique<Setting>();
  config_obj& stored = setting->stored;
  if (record.type == 'b') {
    stored.type = 'd';
    stored.value = val2str(flagCount(record.value));
  } else if (record.value != nullptr) {
    stored.type = record.type;
    stored.value = record.value;
  } else {
    throw vu_exception(vu_failure::settings,
                       std::string("Null value for parameter [") + record.name + "]");
  }
  setting->name = record.name;
  setting->origin = std::move(origin);
  setting->value = nothing();
  setting->kind = kindOf(stored.type);
  try {
    setting->value = numberOf(stored);
  } catch (const vu_exception&) {
    setting->kind = Setting::unreadable;  // a reader is told why, each time
  }
  return setting;
}

config_value valueOf(const Setting& setting) {
  if (setting.kind == Setting::unreadable) return numberOf(setting.stored);
  config_value value = setting.value;
  if (setting.kind == Setting::text) value.asText = setting.stored.value.c_str();
  return value;
}

void checkReadable(const Setting& setting) {
  if (setting.kind != Setting::unreadable) return;
  try {
    static_cast<void>(numberOf(setting.stored));
  } catch (const vu_exception& failure) {
    throw failureOf(setting, failure.kind(), failure.what());
  }
}

vu_exception failureOf(const Setting& setting, vu_failure kind, const std::string& reason) {
  const std::string& origin = setting.origin;
  return vu_exception(
      kind, setting.name + " (" + (origin.empty() ? kSetByProgram : origin) + "): " + reason);
}

Settings::Settings(const Settings& other) : Settings(other.entries_.size()) {
  for (const auto& each : other.entries_) put(std::make_unique<Setting>(*each));
}

const Setting* Settings::find(const char* name) const noexcept {
  return name != nullptr && !slots_.empty() ? slots_[slotOf(name)] : nullptr;
}

void Settings::set(std::unique_ptr<Setting> setting) {
  makeRoom(entries_.size() + 1);
  put(std::move(setting));
}

void Settings::setAll(Settings& staged) {
  if (entries_.empty()) {
    entries_.swap(staged.entries_);
    slots_.swap(staged.slots_);
    return;
  }
  makeRoom(entries_.size() + staged.entries_.size());
  for (auto& each : staged.entries_) put(std::move(each));
}

/// The slot of a name, or the free one where it belongs: there is always one.
std::size_t Settings::slotOf(std::string_view name) const noexcept {
  const std::size_t last = slots_.size() - 1;
  std::size_t slot = hashOf(name) & last;
  while (slots_[slot] != nullptr && slots_[slot]->name != name) slot = (slot + 1) & last;
  return slot;
}

/// There is room for it.
void Settings::put(std::unique_ptr<Setting> setting) noexcept {
  Setting*& slot = slots_[slotOf(setting->name)];
  if (slot != nullptr) {
    replace(*slot, *setting);
  } else {
    slot = setting.get();
    entries_.push_back(std::move(setting));
  }
}

/// Makes room for that many entries in all.
void Settings::makeRoom(std::size_t count) {
  if (count > entries_.capacity()) entries_.reserve(2 * count);
  if (2 * count <= slots_.size()) return;
  std::size_t size = 16;
  while (size < 4 * count) size *= 2;
  std::vector<Setting*> slots(size);
  slots_.swap(slots);
  for (const auto& each : entries_) slots_[slotOf(each->name)] = each.get();
}

}  // namespace vu::detail
