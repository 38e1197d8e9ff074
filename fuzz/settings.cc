// Option tables, command lines and the files that they name, against getopt itself and a regular
// expression; the store that takes the records over, and what a reload makes of it.
//
// Input: which table, for the last choice its rows as words and a NUL; the number of arguments; the
// arguments with a NUL behind each; then a configuration file. FILE in an argument stands for its
// path.

#include "tests/plain/settings.h"

#include <algorithm>
#include <deque>
#include <set>
#include <sstream>

#include "fuzz/support.h"

namespace vu::fuzz {
namespace {

/// A table with every type letter that is converted.
constexpr char kWords[] =
    "Ddinteger Eereal Llunsigned Ppport Uucut Sstext Bbflag xbset xskey cscfg";

/// An option table made of words: an option letter, a type letter and a name each.
class OptionTable {
 public:
  explicit OptionTable(const std::string& words) {
    std::istringstream stream(words);
    std::set<std::string> names;
    for (std::string word; rows_.size() < 20 && stream >> word;) {
      const bool isFlag = word.size() > 1 && word[1] == 'b';
      // A file for a flag would be one without a path.
      if (word.size() < 3 || !names.insert(word.substr(2)).second || (isFlag && word[0] == 'c')) {
        continue;
      }
      words_.push_back(word);
      const long count = static_cast<long>(rows_.size()) - 2;
      rows_.push_back({words_.back().c_str() + 2, word[0], word[1],
                       isFlag ? flagValue(count) : "7.5", "what it is"});
    }
    if (rows_.empty()) rows_.push_back({"level", 'l', 'd', "1", "never empty"});
    rows_.push_back({});
  }

  const vu_opt_helper* rows() const { return rows_.data(); }

 private:
  std::deque<std::string> words_;
  std::vector<vu_opt_helper> rows_;
};

/// The arguments. They name no file but ours: a device could be read for ever.
std::vector<std::string> takeArguments(Input& input, const std::string& path) {
  std::vector<std::string> all = {"daemon"};
  for (std::size_t left = input.choice(20); left > 0; --left) {
    std::string each = input.piece();
    std::replace(each.begin(), each.end(), '/', '_');
    const std::size_t file = each.find("FILE");
    all.push_back(file == std::string::npos ? each : each.replace(file, 4, path));
  }
  return all;
}

/// A reload of a store of which the program has set the first row.
void tryReload(const test::Arguments& arguments, const vu_opt_helper* table,
               const std::string& outcome, const test::PlainSettings& plain) {
  vu_config store;
  store.initConfig(0, nullptr, table);
  store.setParam(table->name, "0x7", table->type == 'b' ? 'd' : table->type);
  const std::string before = test::contentsOf(store, table);
  const std::string message =
      test::messageOf([&] { store.reload(arguments.count(), arguments.vector(), table); });
  const std::string complaint = outcome == plain.records() ? plain.complaint() : outcome;
  if (outcome != "usage") expectEqual(complaint, message, "reloading");
  const std::string after =
      test::recordText(table->name, "0x7", "set by program") + plain.records(1);
  expectEqual(message.empty() ? after : before, test::contentsOf(store, table),
              "the store behind a reload");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFile file;
  Input input(data, size);
  const std::size_t which = input.choice(3);
  const OptionTable own(which == 0 ? "" : which == 1 ? kWords : input.piece());
  const vu_opt_helper* const table = which == 0 ? opt_helper : own.rows();
  const std::vector<std::string> texts = takeArguments(input, file.path());
  file.rewrite(input.rest());

  // The file by a call, up to a bad line.
  test::PlainSettings plainly(table);
  vu_getopt parser(0, nullptr, table);
  expectEqual(test::messageOf([&] { plainly.readFile(file.path()); }),
              test::messageOf([&] { parser.setConfigFile(file.path()); }), "reading");
  expectEqual(plainly.records(), test::recordsOf(parser), "records of a file");

  // Operands move to the end of a vector: each parse has one of its own.
  const test::Arguments first(texts);
  test::PlainSettings plain(table);
  const std::string expected = plain.parse(first);
  const int operands = optind;
  const test::Arguments second(texts);
  opterr = 1;
  optind = 9;
  std::string got;
  const std::string refusal = test::messageOf([&] {
    got = test::recordsOf(vu_getopt(second.count(), second.vector(), which == 0 ? nullptr : table));
  });
  if (!refusal.empty()) got = refusal.rfind("\nUsage: ", 0) == 0 ? "usage" : refusal;
  expectEqual(expected, got, "records");
  expectEqual(1, opterr, "opterr");
  if (refusal.empty()) {
    expectEqual(operands, optind, "the first operand");
    for (int i = 0; i < first.count(); ++i) {
      expectEqual(std::string(first.vector()[i]), second.vector()[i], "the order of arguments");
    }
    vu_config store;
    store.initConfig(second.count(), second.vector(), table);
    expectEqual(plain.records(), test::contentsOf(store, table), "the store");
  }
  // The next user of getopt starts with nothing of ours.
  optind = 1;
  const test::Arguments others({"other", "-V"});
  expectEqual('V', getopt(others.count(), others.vector(), "V"), "another parse");
  tryReload(test::Arguments(texts), table, expected, plain);
  return 0;
}

}  // namespace vu::fuzz
