// Configuration files: what a parser makes of them up to a bad line, and a store that a failed
// reload leaves as it was.
//
// Input: which table, for the second choice its rows as words and a NUL; then the file.

#include "fuzz/settings.h"

using vu::fuzz::expectEqual;
using vu::test::messageOf;

namespace {

/// A table with every type letter that is converted.
constexpr char kWords[] =
    "Ddinteger Eereal Llunsigned Ppport Uucut Sstext Bbflag xbset xskey cscfg";

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vu::fuzz::MemoryFile file;
  vu::fuzz::Input input(data, size);
  vu::fuzz::OptionTable table(input.choice(2) == 0 ? kWords : input.piece());
  const vu_opt_helper* const rows = table.rows();
  file.rewrite(input.rest());

  vu::test::PlainSettings plain(rows);
  const std::string expected = messageOf([&] { plain.readFile(file.path()); });
  vu_getopt parser(0, nullptr, table.rows());
  expectEqual(expected, messageOf([&] { parser.setConfigFile(file.path().c_str()); }), "reading");
  expectEqual(plain.records(), vu::test::recordsOf(parser), "records");

  // The program has set the first row; the file comes by way of a row for files, if there is one.
  const vu::test::Arguments arguments({"daemon", "-c" + file.path()});
  vu::test::PlainSettings merged(rows);
  const std::string outcome = merged.parse(arguments);
  vu_config store(nullptr);
  store.initConfig(0, nullptr, table.rows());
  store.setParam(rows->name, "0x7", rows->type == 'b' ? 'd' : rows->type);
  const std::string before = vu::fuzz::contentsOf(store, rows);
  const std::string message =
      messageOf([&] { store.reload(arguments.count(), arguments.vector(), table.rows()); });
  if (message.empty()) {
    const std::string program = vu::test::recordText(rows->name, "0x7", "set by program");
    expectEqual(program + outcome.substr(outcome.find('\n') + 1), vu::fuzz::contentsOf(store, rows),
                "reloaded");
  } else {
    if (outcome != "usage") expectEqual(outcome, message, "reloading");
    expectEqual(before, vu::fuzz::contentsOf(store, rows), "the store after a failure");
  }
  return 0;
}
