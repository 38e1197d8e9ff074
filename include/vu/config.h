// A daemon's settings: an option table with defaults, the command line, configuration files, and
// the typed store of what they come to.
//
//   vu_config settings;
//   settings.initConfig(argc, argv, nullptr);            // the default table, opt_helper
//   settings.check();                                    // every number can be read
//   int level = settings.get<int>("debug");              // throws for a letter other than 'd'
//   const std::string& port = settings.getParam("inet_port");
//   std::cout << settings.origin("debug") << '\n';       // "default", "/etc/vu.conf:12", ...
//
// Precedence: the table's default, then the options in the order of the command line; option "c"
// reads its file where it stands, so options behind it win over the file.
//
// Threads:  one parse at a time in a process, and none beside other users of `getopt`. Any number
//           of threads may read a store while nobody writes to it.
// Errors:   every failure is a vu_exception. Of kind `usage` is the usage text alone, which "-h"
//           asks for; of kind `file` a file that cannot be read, of kind `number` a text that is
//           none, of kind `settings` all else.
// Lifetime: `vu_getopt` points into the table and `argv`; `vu_config` owns copies of all texts.

#ifndef VU_CONFIG_H_
#define VU_CONFIG_H_

#include <cstdint>
#include <memory>
#include <string>

#include "vu/export.h"
#include "vu/foundation.h"

namespace vu::detail {
class Settings;
class Sources;
}  // namespace vu::detail

// ---------------------------------------------------------------------------------------------
// Tables and records

/// One row of an option table. A row with a null name and option 0 ends the table; names are
/// unique.
struct vu_opt_helper {
  const char* name;   ///< The setting's name.
  char option;        ///< Its letter; 'x': set by "-x name=value"; 'X': not on the command line.
  char type;          ///< 'b': a flag without argument, counted; any other: text, see config_obj.
  const char* value;  ///< The default text; for 'b' a count, see flagValue; null is 0.
  const char* description;  ///< One line for the usage text.
};

/// The table that is used when a caller gives none.
VU_EXPORT extern vu_opt_helper opt_helper[];

/// One parameter: a record of `vu_getopt`, and the form in which `vu_config` is loaded. A record
/// with a null name ends an array of them.
struct config_helper {
  const char* name;   ///< The parameter's name.
  char type;          ///< Its type letter, see config_obj; 'b' is a flag.
  const char* value;  ///< NUL-terminated text; for type 'b' a count, see flagCount.
};

/// The count that the value field of a record of type 'b' carries.
inline long flagCount(const char* value) {
  return static_cast<long>(reinterpret_cast<std::intptr_t>(value));
}
/// The value field of a record of type 'b' for a count.
inline const char* flagValue(long count) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): it is never followed
  return reinterpret_cast<const char*>(static_cast<std::intptr_t>(count));
}

// ---------------------------------------------------------------------------------------------
// The parser

/// Merges defaults, command line and configuration files into one record a row, in table order.
class VU_EXPORT vu_getopt {
 public:
  /// Parses at once. A null `table` is opt_helper; `argc` 0 with a null `argv` leaves all defaults.
  /// `argv` and the table must outlive the object. `argv` is written to, whatever its type says:
  /// the system's `getopt` may move the operands behind the options, and leaves the index of the
  /// first operand in `optind`. Its `opterr` is afterwards what it was.
  ///
  /// Throws vu_exception, and no object exists then:
  ///   "Empty Argument vector"    for a null `argv` with an `argc` other than 0;
  ///   "Empty Option Definition"  for a table without rows;
  ///   the usage text             for an unknown letter, a missing argument, and an "-x" argument
  ///                              without "=" or with a key that begins no name of an 'x' row;
  ///   what `setConfigFile` and str2val throw.
  vu_getopt(int argc, char* const* argv, const vu_opt_helper* table);
  vu_getopt(const vu_getopt&) = delete;
  vu_getopt& operator=(const vu_getopt&) = delete;
  virtual ~vu_getopt();

  /// Starts again from the defaults and parses; returns 0. Throws as the constructor; the records
  /// are then the defaults with what was parsed before the failure.
  int getOptions();

  /// Applies one option with its argument, null for a flag. Returns 0, or -1 when no row takes it,
  /// its argument is missing or, for 'x' and 'X', has no "=". The argument is not copied and must
  /// outlive the object. Throws what `setConfigFile` throws for option 'c', and str2val for "-x
  /// name=count".
  int setOptions(char option, const char* argument);

  /// Throws the usage text: the program name and every row but those of letter 'X', with defaults.
  [[noreturn]] void usageMsg() const;

  /// The value of a record, with its type letter in `type`.
  /// Throws vu_exception "Unknown Parameter " + name, with `type` 0.
  const char* getOptItem(const char* name, int& type) const;

  /// Reads and applies a configuration file; returns 0. A line sets a parameter by its name and the
  /// next word; blank lines, comments ("#") and lines of any other form are skipped.
  ///
  /// Throws vu_exception, and what stood in front of the bad line stays applied:
  ///   "Null configuration file definition"                 for a null path; prints "NULL" too;
  ///   "Cannot open configuration file [" + path + "]"      also when nothing of it can be read;
  ///   "Cannot read configuration file [" + path + "]"      when reading fails further on, for
  ///       want of memory, too;
  ///   "Unknown configure parameter in conf_file : " + name;
  ///   "bad conversion [" + text + "]"                      for a flag whose value is no number.
  int setConfigFile(const char* path);

  /// Applies one line of a configuration file. Throws as above.
  void parseConfigLine(const std::string& line);

  /// The records, ended by one with a null name. Texts live as long as this object, `argv`, the
  /// table and what was passed to `setOptions`.
  const config_helper* params() const { return params_.get(); }
  /// How many there are.
  int optCount() const { return optCount_; }

  /// Where the value of record `index` comes from: "default", "command line", a file's path and
  /// line ("/etc/vu.conf:12"), or "set by program" for a direct call of `parseConfigLine`.
  /// Throws vu_exception "vu_getopt::origin: Index out of range [" + index + "]".
  std::string origin(int index) const;

 private:
  int argc_;
  char* const* argv_;
  const vu_opt_helper* optTable_;
  std::unique_ptr<std::string[]> fileText_;
  int optCount_ = 0;
  std::unique_ptr<config_helper[]> params_;
  std::unique_ptr<vu::detail::Sources> sources_;  // of the records' values
};

// ---------------------------------------------------------------------------------------------
// The store

/// One stored value. Type letters: 'd' int, 'e' double, 'l' unsigned int, 'p' unsigned short, 'u'
/// unsigned int cut to 16 bits, 0 no type, any other text. ('b' is stored as 'd'.)
struct config_obj {
  /// Copies the text.
  config_obj(char typeLetter = 0, const std::string& text = std::string())
      : type(typeLetter), value(text) {}

  char type;          ///< The type letter.
  std::string value;  ///< The text as it was written; nothing is converted or checked.
};

/// A value as its type letter asks for it; all other bytes are zero.
union config_value {
  int asInt;                ///< 'd'
  double asDouble;          ///< 'e'
  unsigned int asUInt;      ///< 'l'
  unsigned short asUShort;  ///< 'p', 'u'
  const char* asText;       ///< any other letter but 0; valid until the entry's text is set again
};

/// All settings by their names. A write that throws leaves the store as it was. A read takes a few
/// nanoseconds: texts are converted when they are written.
class VU_EXPORT vu_config {
 public:
  /// An empty store.
  vu_config() noexcept;
  /// Loads `records` unless that is null. Throws as `configParams`.
  explicit vu_config(const config_helper* records);
  /// Copies all settings with their origins.
  vu_config(const vu_config& other);
  /// Leaves `other` empty. References to its texts stay valid, and are this store's.
  vu_config(vu_config&& other) noexcept;
  /// Either of the two. References to texts that the store had are no longer valid.
  vu_config& operator=(vu_config other) noexcept;
  ~vu_config();

  /// Parses (see vu_getopt) and stores every row of the table, a `const vu_opt_helper*` or null for
  /// opt_helper. Entries under other names stay. Throws what vu_getopt and `configParams` throw.
  void initConfig(int argc, char* const* argv, const void* table);

  /// The same for settings that may have changed meanwhile; but entries that the program has set by
  /// `setParam` or `setConfParam` stay as they are, and values that nobody could read are refused.
  /// The new values are built aside, and put in place when all of them are good.
  ///
  /// Throws what `initConfig` and `check` throw; the store is then as it was.
  void reload(int argc, char* const* argv, const void* table);

  /// Throws vu_exception for the first setting, in the order of the table, whose text does not
  /// convert as its type letter asks, with its name and origin:
  ///   "debug (/etc/vu.conf:12): bad conversion [abc]"
  ///   "debug (command line): empty string T"
  void check() const;
  /// The same for one setting. Unknown names throw as in `getParam`.
  void check(const char* name) const;

  /// Stores `records`, ended by one with a null name, and returns their number; 0 for null.
  /// `reload` replaces them: it takes them for where the program starts from.
  ///
  /// Throws vu_exception "Null value for parameter [" + name + "]" for a null text of another type
  /// than 'b', before anything is stored.
  int configParams(const config_helper* records);
  /// The records of a parser, with their origins. Throws as above.
  int configParams(const vu_getopt& parser);

  /// Stores one record; a null pointer does nothing. Throws as `configParams`, and
  /// "vu_config::setConfParam: Null name" for a record without one.
  void setConfParam(const config_helper* record);

  /// Stores one value; with type 'b', `value` carries a count as flagValue makes it. Throws as
  /// `setConfParam`.
  void setParam(const char* name, const char* value, char type);

  /// The text of a setting. The reference stays valid as long as the store and shows later changes.
  ///
  /// Throws vu_exception "Unknown Get Parameter [" + name + "]"; when there is no memory for that
  /// text, it ends the process. A known name needs no memory.
  const std::string& getParam(const char* name) const;
  /// The same with the setting's letter in `type`, 0 after a failure.
  const std::string& getParam(const char* name, char& type) const;

  /// A setting's value by its type letter.
  ///
  /// Throws vu_exception "unknown parameter", and what str2val throws for the text; when there is
  /// no memory for these, it ends the process. A text that converts needs no memory.
  config_value getConfItem(const char* name) const;

  /// A setting's value, which must be of a letter that fits T: `int` 'd', `double` 'e', `unsigned
  /// int` 'l', `unsigned short` 'p' or 'u', `std::string` any other but 0.
  ///
  /// Throws vu_exception:
  ///   "Unknown Get Parameter [" + name + "]";
  ///   "debug (default): wrong type [d]"   with the setting's name, origin and letter, for a letter
  ///                                       of another T; none stands in the brackets for letter 0;
  ///   what `check` throws                 for a text that does not convert.
  template <typename T>
  T get(const char* name) const = delete;

  /// Where a setting comes from: "default", "command line", a configuration file's path and line
  /// ("/etc/vu.conf:12"), "loaded by program" for the records of `configParams`, or "set by
  /// program". Unknown names throw as in `getParam`.
  std::string origin(const char* name) const;

 private:
  std::unique_ptr<vu::detail::Settings> confMap_;  // null: empty
};

/// Of letter 'd'.
template <>
VU_EXPORT int vu_config::get<int>(const char* name) const;
/// Of letter 'e'.
template <>
VU_EXPORT double vu_config::get<double>(const char* name) const;
/// Of letter 'l'.
template <>
VU_EXPORT unsigned int vu_config::get<unsigned int>(const char* name) const;
/// Of letter 'p' or 'u'.
template <>
VU_EXPORT unsigned short vu_config::get<unsigned short>(const char* name) const;
/// Of any other letter, but not 0.
template <>
VU_EXPORT std::string vu_config::get<std::string>(const char* name) const;

#endif  // VU_CONFIG_H_
