// Command lines and option tables against getopt itself, files they name included; the store that
// takes the records over.
//
// Input: which table, for the second choice its rows as words; the content of a configuration file
// and a NUL; then the arguments, a NUL behind each. FILE in an argument stands for the file's path.

#include <algorithm>

#include "fuzz/settings.h"

using vu::fuzz::expectEqual;
using vu::test::Arguments;
using vu::test::messageOf;

namespace {

/// The arguments. They name no file but ours: a device could be read for ever.
std::vector<std::string> takeArguments(vu::fuzz::Input& input, const std::string& path) {
  std::vector<std::string> all = {"daemon"};
  while (!input.empty() && all.size() < 20) {
    std::string each = input.piece();
    std::replace(each.begin(), each.end(), '/', '_');
    const std::size_t file = each.find("FILE");
    all.push_back(file == std::string::npos ? each : each.replace(file, 4, path));
  }
  return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vu::fuzz::MemoryFile file;
  vu::fuzz::Input input(data, size);
  const bool hasTable = input.choice(2) == 1;
  vu::fuzz::OptionTable own(hasTable ? input.piece() : "");
  vu_opt_helper* const table = hasTable ? own.rows() : opt_helper;
  file.rewrite(input.piece());
  const std::vector<std::string> texts = takeArguments(input, file.path());

  // Operands move to the end of a vector: each parse has one of its own.
  const Arguments first(texts);
  vu::test::PlainSettings plain(table);
  const std::string expected = plain.parse(first);
  const int operands = optind;
  const Arguments second(texts);
  expectEqual(expected, recordsOf(second, hasTable ? table : nullptr), "records");
  if (expected == plain.records()) {
    expectEqual(operands, optind, "the first operand");
    for (int i = 0; i < first.count(); ++i) {
      expectEqual(std::string(first.vector()[i]), second.vector()[i], "the order of arguments");
    }
  }
  // The next user of getopt starts with nothing of ours.
  optind = 1;
  const Arguments others({"other", "-V"});
  expectEqual('V', getopt(others.count(), others.vector(), "V"), "another parse");

  vu_config store(nullptr);
  const Arguments third(texts);
  const std::string message =
      messageOf([&] { store.initConfig(third.count(), third.vector(), table); });
  if (message.empty()) {
    expectEqual(plain.records(), vu::fuzz::contentsOf(store, table), "the store");
  } else {
    expectEqual("Unknown Get Parameter [" + std::string(table->name) + "]",
                messageOf([&] { store.getParam(table->name); }), "a store without anything");
  }
  return 0;
}
