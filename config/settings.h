// The entries of a store. Each stands in memory of its own from the first write of its name on, so
// that references to its text stay valid; the entries keep the order in which they came.
//
// A daemon reads settings for each request, so a read neither allocates nor converts: names are
// found by a table of slots with open addressing, at most half full, and a text is converted when
// it is written.
//
// Threads: as a standard container.

#ifndef VU_CONFIG_SETTINGS_H_
#define VU_CONFIG_SETTINGS_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vu/config.h"

namespace vu::detail {

inline constexpr char kSetByProgram[] = "set by program";

/// What is known of one name.
struct Setting {
  std::string name;
  config_obj stored;
  std::string origin;       ///< Empty when the program has set it by itself.
  config_value value = {};  ///< All bytes zero but for a number that could be read.
  enum Kind : char { none, text, number, unreadable } kind = none;
};

/// The setting of a record. Throws vu_exception for a null text of another type than 'b'.
std::unique_ptr<Setting> settingOf(const config_helper& record, std::string origin);

/// The value of a setting by its letter. Throws what str2val throws for the text.
config_value valueOf(const Setting& setting);

/// Throws vu_exception with name, origin and reason when the text does not convert.
void checkReadable(const Setting& setting);

/// A failure of one setting: "debug (/etc/vu.conf:12): " and the reason.
vu_exception failureOf(const Setting& setting, vu_failure kind, const std::string& reason);

class Settings {
 public:
  using Entries = std::vector<std::unique_ptr<Setting>>;

  Settings() = default;
  /// Has room for so many.
  explicit Settings(std::size_t count) { makeRoom(count); }
  Settings(const Settings& other);
  Settings& operator=(const Settings&) = delete;

  /// Null when the name, or the pointer to it, is unknown or null.
  const Setting* find(const char* name) const noexcept;

  const Entries& entries() const { return entries_; }

  /// Stores one, in place of one of its name.
  void set(std::unique_ptr<Setting> setting);

  /// Stores all of `staged`, or throws for want of memory and stores none. Leaves `staged` in
  /// whatever state.
  void setAll(Settings& staged);

 private:
  std::size_t slotOf(std::string_view name) const noexcept;
  void put(std::unique_ptr<Setting> setting) noexcept;
  void makeRoom(std::size_t count);

  Entries entries_;
  std::vector<Setting*> slots_;  // empty, or a power of two
};

}  // namespace vu::detail

#endif  // VU_CONFIG_SETTINGS_H_
