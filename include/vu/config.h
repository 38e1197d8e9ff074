// A daemon's settings: an option table with defaults, the command line, configuration files, and
// the typed store of what they come to.
//
//   vu_config settings(nullptr);
//   settings.initConfig(argc, argv, nullptr);            // the default table, opt_helper
//   int level = settings.getConfItem("debug").asInt;     // converted by the setting's type letter
//   const std::string& port = settings.getParam("inet_port");
//   std::cout << settings.origin("debug") << '\n';       // "default", "/etc/vu.conf:12", ...
//
// Precedence: the table's default, then the options in the order of the command line; option "c"
// reads its file where it stands, so options behind it win over the file.
//
// Threads:  one parse at a time in a process, and none beside other users of `getopt`. Any number
//           of threads may read a store while nobody writes to it.
// Errors:   every failure is a vu_exception, the usage text too.
// Lifetime: `vu_getopt` points into the table and `argv`; `vu_config` owns copies of all texts.

#ifndef VU_CONFIG_H_
#define VU_CONFIG_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vu/export.h"
#include "vu/foundation.h"

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
  /// `argv` and the table must outlive the object; `getopt` may move the operands in `argv` behind
  /// the options, and leaves the index of the first in `optind`.
  ///
  /// Throws vu_exception, and no object exists then:
  ///   "Empty Argument vector"    for a null `argv` with an `argc` other than 0;
  ///   "Empty Option Definition"  for a table without rows;
  ///   the usage text             for an unknown letter, a missing argument, and an "-x" argument
  ///                              without "=" or with a key that begins no name of an 'x' row;
  ///   what `setConfigFile` and str2val throw.
  vu_getopt(int argc, char* const* argv, vu_opt_helper* table);
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
  /// next word; blank lines, comments ("#") and lines of any other form are skipped, as are lines
  /// of 2 GiB or more.
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
  /// Where a record's value comes from.
  struct Origin {
    enum Kind : char { byDefault, commandLine, file, program };
    Kind kind;
    std::size_t path;  // in paths_
    long long line;
  };
  class LinesOf;

  void runCommandLine(const std::string& letters);
  int setKeyAndValue(char option, const char* argument);
  void setFlag(int row, long count, const Origin& origin);
  void setText(int row, const char* text, const Origin& origin);

  int argc_;
  char* const* argv_;
  vu_opt_helper* optTable_;
  std::unique_ptr<std::string[]> fileText_;
  int optCount_ = 0;
  std::unique_ptr<config_helper[]> params_;
  std::vector<Origin> origins_;
  std::vector<std::string> paths_;               // of the files read
  Origin lineOrigin_ = {Origin::program, 0, 0};  // of the line being applied
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

namespace vu::detail {

/// An entry of the store.
struct Setting {
  config_obj stored;
  std::string origin;  ///< Empty when the program has set it.
};

using Settings = std::map<std::string, Setting>;

}  // namespace vu::detail

/// A value as its type letter asks for it; all other bytes are zero.
union config_value {
  int asInt;                ///< 'd'
  double asDouble;          ///< 'e'
  unsigned int asUInt;      ///< 'l'
  unsigned short asUShort;  ///< 'p', 'u'
  const char* asText;       ///< any other letter but 0; valid until the entry's text is set again
};

/// All settings by their names. A write that throws leaves the store as it was.
class VU_EXPORT vu_config {
 public:
  /// Loads `records` unless that is null. Throws as `configParams`.
  explicit vu_config(const config_helper* records);

  /// Parses (see vu_getopt) and stores every row of the table, a `vu_opt_helper*` or null for
  /// opt_helper. Entries under other names stay. Throws what vu_getopt and `configParams` throw.
  void initConfig(int argc, char* const* argv, void* table);

  /// The same for settings that may have changed meanwhile; but entries that the program has set
  /// stay as they are. The new values are built aside and put in place in one step.
  void reload(int argc, char* const* argv, void* table);

  /// Stores `records`, ended by one with a null name, and returns their number; 0 for null.
  ///
  /// Throws vu_exception "Null value for parameter [" + name + "]" for a null text of another type
  /// than 'b', before anything is stored.
  int configParams(const config_helper* records);

  /// Stores one record; a null pointer does nothing. Throws as `configParams`, and
  /// "vu_config::setConfParam: Null name" for a record without one.
  void setConfParam(const config_helper* record);

  /// Stores one value; with type 'b', `value` carries a count as flagValue makes it. Throws as
  /// `setConfParam`.
  void setParam(const char* name, const char* value, char type);

  /// The text of a setting. The reference stays valid as long as the store and shows later changes.
  ///
  /// Throws vu_exception "Unknown Get Parameter [" + name + "]"; any other exception, such as for
  /// want of memory, ends the process.
  const std::string& getParam(const char* name) const;
  /// The same with the setting's letter in `type`, 0 after a failure.
  const std::string& getParam(const char* name, char& type) const;

  /// A setting's value, converted by its type letter at each call.
  ///
  /// Throws vu_exception "unknown parameter", and what str2val throws for the text; any other
  /// exception ends the process.
  config_value getConfItem(const char* name) const;

  /// Where a setting comes from: "default", "command line", a configuration file's path and line
  /// ("/etc/vu.conf:12"), or "set by program". Unknown names throw as in `getParam`.
  std::string origin(const char* name) const;

 private:
  void put(vu::detail::Settings& staged) noexcept;

  vu::detail::Settings confMap_;
};

#endif  // VU_CONFIG_H_
