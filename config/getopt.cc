// The command line: rows of the option table become records, and the system's getopt tells which
// options are there.

#include <unistd.h>

#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "config/sources.h"
#include "vu/config.h"

namespace {

/// A parse with getopt that leaves nothing of itself behind. getopt keeps a pointer into the
/// argument vector, at the letter after the last option; that vector may be gone, and the pointer
/// is what the next user of getopt would begin with. Only the start of another parse clears it.
class GetoptUse {
 public:
  GetoptUse() {
    optind = 0;  // for the GNU library: forget everything, then go on as with 1
    opterr = 0;
  }
  GetoptUse(const GetoptUse&) = delete;
  GetoptUse& operator=(const GetoptUse&) = delete;
  ~GetoptUse() {
    static char name[] = "";
    char* const nothing[] = {name, nullptr};
    optind = 0;
    static_cast<void>(getopt(1, nothing, ""));
    optarg = nullptr;
    optind = next_;
    opterr = messages_;
  }

  /// The parse has come to its end: the caller finds its operands from optind on.
  void finish() { next_ = optind > 0 ? optind : 1; }

 private:
  int next_ = 1;
  int messages_ = opterr;
};

using vu::detail::Sources;

/// The letters as getopt wants them: "b:d:A:c:v:P:DVx:".
std::string getoptLetters(const vu_opt_helper* table) {
  std::string letters;
  bool hasKeys = false;
  for (const vu_opt_helper* row = table; row->name != nullptr && row->option != 0; ++row) {
    if (row->option == 'x') hasKeys = true;
    if (row->option == 'x' || row->option == 'X') continue;
    letters += row->option;
    if (row->type != 'b') letters += ':';
  }
  return hasKeys ? letters + "x:" : letters;
}

/// Hands each option of a command line to a parser.
void applyOptions(vu_getopt& parser, int argc, char* const* argv, const std::string& letters) {
  GetoptUse use;
  while (true) {
    // A letter of value 255 is -1 as a char, and ends the options like it.
    const auto option = static_cast<signed char>(getopt(argc, argv, letters.c_str()));
    if (option == -1) break;
    if (option == '?' || parser.setOptions(static_cast<char>(option), optarg) != 0) {
      parser.usageMsg();
    }
  }
  use.finish();
}

/// The first row of a letter whose name begins with `key`; -1: there is none.
int findRow(const vu_opt_helper* table, char option, std::string_view key) {
  for (int row = 0; table[row].name != nullptr; ++row) {
    const std::string_view name = table[row].name;
    if (table[row].option == option && name.substr(0, key.size()) == key) return row;
  }
  return -1;
}

}  // namespace

vu_getopt::vu_getopt(int argc, char* const* argv, const vu_opt_helper* table)
    : argc_(argc), argv_(argv), optTable_(table != nullptr ? table : opt_helper) {
  if (argv == nullptr && argc != 0) {
    throw vu_exception(vu_failure::settings, "Empty Argument vector");
  }
  if (optTable_->name == nullptr) {
    throw vu_exception(vu_failure::settings, "Empty Option Definition");
  }
  getOptions();
}

vu_getopt::~vu_getopt() = default;

int vu_getopt::getOptions() {
  int count = 0;
  while (optTable_[count].name != nullptr) ++count;
  const auto slots = static_cast<std::size_t>(count) + 1;
  auto params = std::make_unique<config_helper[]>(slots);
  auto sources = std::make_unique<Sources>(slots);
  const std::string letters = getoptLetters(optTable_);
  for (std::size_t row = 0; row + 1 < slots; ++row) {
    params[row] = {optTable_[row].name, optTable_[row].type, optTable_[row].value};
  }
  optCount_ = count;
  params_ = std::move(params);
  fileText_ = nullptr;
  sources_ = std::move(sources);
  if (argc_ != 0) applyOptions(*this, argc_, argv_, letters);
  return 0;
}

int vu_getopt::setOptions(char option, const char* argument) {
  const bool isKey = option == 'x' || option == 'X';
  std::string_view key;
  if (isKey) {  // "key=value"
    const char* const equals = argument != nullptr ? std::strchr(argument, '=') : nullptr;
    if (equals == nullptr) return -1;
    key = {argument, static_cast<std::size_t>(equals - argument)};
    argument = equals + 1;
  }
  const int row = findRow(optTable_, option, key);
  if (row < 0) return -1;
  config_helper& record = params_[static_cast<std::size_t>(row)];
  if (option == 'c') setConfigFile(argument);
  if (record.type != 'b') {
    if (argument == nullptr) return -1;
    record.value = argument;
  } else if (isKey) {
    record.value = flagValue(static_cast<long>(str2val<unsigned int>(argument)));
  } else {
    const long count = flagCount(record.value);
    record.value = flagValue(count < std::numeric_limits<long>::max() ? count + 1 : count);
  }
  sources_->set(row, {Sources::commandLine, 0, 0});
  return 0;
}

void vu_getopt::usageMsg() const {
  const char* const program = argv_ != nullptr ? argv_[0] : nullptr;
  std::string text =
      std::string("\nUsage: ") + (program != nullptr ? program : "") + " [OPTIONS] \n";
  for (const vu_opt_helper* row = optTable_; row->name != nullptr; ++row) {
    if (row->option == 'X') continue;
    if (row != optTable_) text += '\n';
    text += std::string("  -") + row->option + ' ';
    text += row->description != nullptr ? row->description : "";
    text += " [";
    if (row->type == 'b') {
      text += val2str(flagCount(row->value));
    } else if (row->value != nullptr) {
      text += row->value;
    }
    text += ']';
  }
  throw vu_exception(vu_failure::usage, text);
}

const char* vu_getopt::getOptItem(const char* name, int& type) const {
  type = 0;
  for (int row = 0; row < optCount_ && name != nullptr; ++row) {
    const config_helper& record = params_[static_cast<std::size_t>(row)];
    if (std::strcmp(record.name, name) != 0) continue;
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): the same number whatever sign a char has
    type = static_cast<signed char>(record.type);
    return record.value;
  }
  throw vu_exception(vu_failure::settings,
                     std::string("Unknown Parameter ") + (name != nullptr ? name : "NULL"));
}

std::string vu_getopt::origin(int index) const {
  if (index < 0 || index >= optCount_) {
    throw vu_exception(vu_failure::settings,
                       "vu_getopt::origin: Index out of range [" + val2str(index) + "]");
  }
  return sources_->textOf(index);
}
