#include "vu/config.h"

#include <unistd.h>

#include <climits>

#include <gtest/gtest.h>

#include "tests/allocations.h"
#include "tests/plain/settings.h"
#include "tests/process.h"
#include "tests/support.h"

namespace vu::test {
namespace {

/// What lines and files lead to is compared with getopt and a regular expression by a fuzz target,
/// vu-settings(1) shows the usage text of the usual table: these are the kinds of failures.
TEST(CommandLine, FailsByKind) {
  const TemporaryFile unknown("Debug 3"), noNumber("isdaemon yes");
  const std::pair<vu_failure, std::string> rows[] = {
      {vu_failure::usage, "-h"},
      {vu_failure::file, "-c/tmp"},
      {vu_failure::settings, std::string("-c") + unknown.path()},
      {vu_failure::number, std::string("-c") + noNumber.path()}};
  for (const auto& [kind, argument] : rows) {
    const Arguments arguments({"daemon", argument});
    const auto parse = [&] { vu_getopt(arguments.count(), arguments.vector(), nullptr); };
    EXPECT_EQ(kind, kindOf(parse)) << argument;
  }
  EXPECT_EQ("Empty Argument vector", messageOf([] { vu_getopt(1, nullptr, nullptr); }));
}

TEST(CommandLine, ReadsTables) {
  const vu_opt_helper none[] = {{}};
  EXPECT_EQ("Empty Option Definition", messageOf([&] { vu_getopt(0, nullptr, none); }));
  const vu_opt_helper table[] = {{"hidden", 'X', 's', "h", "never shown"},
                                 {"level", 'l', 'b', flagValue(-3), "level"},
                                 {"key", 'x', 'b', flagValue(-1), nullptr},
                                 {"full", 'f', 'b', flagValue(LONG_MAX), "held"},
                                 {"other", 'o', '\xe9', "o", "a letter beyond ASCII"},
                                 {"late", 'c', 's', "", "file"},
                                 {}};
  const std::string most = std::to_string(LONG_MAX);
  // Longer than what is read of a file at a time.
  const std::string much(100000, 'a'), blanks(100000, ' ');
  const TemporaryFile file("hidden " + much + "\n" + blanks + "x\n" + much + "=\nlate lost");
  const TemporaryFile second("\nlevel 0x10\n");
  const std::string path = second.path();
  const Arguments arguments({"daemon", "-f", std::string("-c") + file.path(), "-l", "-c" + path});
  vu_getopt parser(arguments.count(), arguments.vector(), table);
  const std::string records = "hidden=" + much + " (" + file.path() + ":1)\nlevel=16 (" + path +
                              ":2)\nkey=-1 (default)\nfull=" + most +
                              " (command line)\nother=o (default)\nlate=" + path +
                              " (command line)\n";
  EXPECT_EQ(records, recordsOf(parser));
  int type = 7;
  EXPECT_EQ("Unknown Parameter nosuch", messageOf([&] { parser.getOptItem("nosuch", type); }));
  EXPECT_EQ(0, type);
  EXPECT_EQ("Unknown Parameter NULL", messageOf([&] { parser.getOptItem(nullptr, type); }));
  EXPECT_EQ("\nUsage: daemon [OPTIONS] \n\n  -l level [-3]\n  -x  [-1]\n  -f held [" + most +
                "]\n  -o a letter beyond ASCII [o]\n  -c file []",
            messageOf([&] { parser.usageMsg(); }));

  // Direct calls.
  EXPECT_EQ(0, parser.setOptions('X', "hid=by hand"));
  EXPECT_STREQ("by hand", parser.getOptItem("hidden", type));
  for (const char* bad : {"nosuch=1", "key", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(-1, parser.setOptions('x', bad));
  }
  for (const char letter : {'q', '\0'}) EXPECT_EQ(-1, parser.setOptions(letter, "1"));
  EXPECT_EQ(-1, vu_getopt(0, nullptr, nullptr).setOptions('v', nullptr));
  testing::internal::CaptureStdout();
  EXPECT_EQ("Null configuration file definition",
            messageOf([&] { parser.setOptions('c', nullptr); }));
  EXPECT_EQ("NULL\n", testing::internal::GetCapturedStdout());
  EXPECT_EQ(0, parser.setConfigFile(second.path()));
  const TemporaryFile bad("key none\n");
  EXPECT_NE("", messageOf([&] { parser.setConfigFile(bad.path()); }));
  parser.parseConfigLine("level 5");
  EXPECT_EQ("set by program", parser.origin(1));
  for (const int index : {6, -1}) EXPECT_NE("", messageOf([&] { parser.origin(index); }));
  EXPECT_EQ(0, parser.getOptions());  // starts again from the defaults
  EXPECT_EQ(records, recordsOf(parser));

  // A row without a letter ends what the command line may hold, and there is no program's name.
  const vu_opt_helper cut[] = {{"text", 'x', 's', nullptr, "text"},
                               {"unnamed", '\0', 's', "", nullptr},
                               {"late", 'l', 'b', nullptr, nullptr},
                               {}};
  const Arguments key({"", "-xtext=new"}), late({"", "-l"});
  EXPECT_STREQ("new", vu_getopt(key.count(), key.vector(), cut).getOptItem("text", type));
  const std::string usage = messageOf([&] { vu_getopt(0, nullptr, cut).usageMsg(); });
  EXPECT_EQ(0U, usage.find("\nUsage:  [OPTIONS] \n  -x text []\n")) << usage;
  EXPECT_EQ(usage, messageOf([&] { vu_getopt(late.count(), late.vector(), cut); }));
}

/// Lines may be read while the process ends, by a static object or a thread that goes on.
TEST(CommandLine, IsReadWhileTheProcessEnds) {
  inChild([] {
    static vu_getopt& parser = *new vu_getopt(0, nullptr, nullptr);
    static const struct AtEnd {
      ~AtEnd() {
        parser.parseConfigLine("debug 4");
        if (recordsOf(parser).find("debug=4 ") == std::string::npos) _exit(1);
      }
    } atEnd;
    parser.parseConfigLine("debug 3");
  });
}

/// What a letter makes of a text is compared with streams by the fuzz target.
TEST(Store, GivesTypesThatFitTheLetter) {
  const config_helper records[] = {
      {"d", 'd', "-3"},   {"e", 'e', "0.5"},   {"l", 'l', "3"}, {"p", 'p', "no"},
      {"q", 'q', "text"}, {"u", 'u', "70000"}, {"none", 0, ""}, {}};
  const vu_config store(records);
  std::string all;
  for (const config_helper* record = records; record->name != nullptr; ++record) {
    const auto add = [&](auto kind) {
      using Kind = decltype(kind);
      const std::string text = messageOf([&] { all += val2str(store.get<Kind>(record->name)); });
      all += text.substr(0, text.find(" (loaded by program): wrong type [")) + "|";
    };
    add(0), add(0.0), add(0U), add(static_cast<unsigned short>(0)), add(std::string());
  }
  EXPECT_EQ(
      "-3|d|d|d|d|e|0.5|e|e|e|l|l|3|l|l|p|p|p|p (loaded by program): bad conversion [no]|p|"
      "q|q|q|q|text|u|u|u|4464|u|none|none|none|none|none|",
      all);
  EXPECT_EQ("p (loaded by program): bad conversion [no]", messageOf([&] { store.check(); }));
}

TEST(Store, RefusesAndKeepsWhatItHas) {
  char type = 7;
  vu_config store;
  EXPECT_EQ("Unknown Get Parameter [x]", messageOf([&] { store.getParam("x", type); }));
  EXPECT_EQ(0, type);
  EXPECT_EQ("Unknown Get Parameter [x]", messageOf([&] { store.origin("x"); }));
  store.setParam("NULL", "x", 's');
  EXPECT_EQ(store.getParam("NULL").c_str(), store.getConfItem("NULL").asText);
  EXPECT_EQ("Unknown Get Parameter [NULL]", messageOf([&] { store.getParam(nullptr); }));
  EXPECT_EQ("unknown parameter", messageOf([&] { store.getConfItem(nullptr); }));
  const config_helper records[] = {{"a", 's', "1"}, {"b", 's', nullptr}, {}};
  EXPECT_EQ("Null value for parameter [b]", messageOf([&] { store.configParams(records); }));
  EXPECT_EQ("Unknown Get Parameter [a]", messageOf([&] { store.getParam("a"); }));
  EXPECT_EQ("Null value for parameter [b]", messageOf([&] { store.setParam("b", nullptr, 'd'); }));
  EXPECT_EQ("vu_config::setConfParam: Null name",
            messageOf([&] { store.setParam(nullptr, "", 's'); }));
  store.setConfParam(nullptr);
  EXPECT_EQ(0, store.configParams(nullptr));
  const vu_opt_helper table[] = {{"c", 'c', 's', "", ""}, {"d", 'd', 's', nullptr, ""}, {}};
  EXPECT_EQ("Null value for parameter [d]",
            messageOf([&] { store.initConfig(0, nullptr, table); }));
  EXPECT_EQ("Unknown Get Parameter [c]", messageOf([&] { store.getParam("c"); }));
  EXPECT_DEATH((allocationsLeft = 0, store.getParam("one that takes memory to be said unknown")),
               "");
}

/// Copies share nothing, many names are found again, and references to texts stay valid.
TEST(Store, HoldsAnyNumber) {
  vu_config store;
  store.setParam("7", "a text that is no number, too long for the room in a string", 'd');
  EXPECT_NE("", messageOf([&] { store.check("7"); }));
  const std::string& seven = store.getParam("7");
  for (int i = 0; i < 1000; ++i) store.setParam(val2str(i).c_str(), val2str(i * i).c_str(), 'd');
  store.check("7");
  vu_config copy = store;
  store.setParam("7", "changed", 's');
  EXPECT_EQ("changed", seven);
  const vu_config moved = std::move(copy);
  copy = store;
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(i * i, moved.get<int>(val2str(i).c_str()));
  EXPECT_EQ("changed", copy.getParam("7"));
}

/// Stores that were filled in each way. What a failed reload leaves is the fuzz target's.
TEST(Store, ReloadsInOneStep) {
  const TemporaryFile file("\ndebug 3\nuserdata one-that-is-longer-than-a-small-string\n");
  const std::string path = file.path();
  const Arguments first({"daemon", "-v5", "-c" + path, "-D"}), second({"daemon", "-P1"});
  const vu_getopt parser(first.count(), first.vector(), nullptr);
  vu_config all[3], fresh;
  for (vu_config& each : all) each.setParam("own", "1", 'd');
  all[0].initConfig(first.count(), first.vector(), nullptr);
  EXPECT_EQ(13, all[1].configParams(parser));
  EXPECT_EQ(13, all[2].configParams(parser.params()));
  EXPECT_EQ(path + ":2", all[0].origin("debug"));
  EXPECT_EQ(contentsOf(all[0]), contentsOf(all[1]));
  EXPECT_EQ("loaded by program", all[2].origin("debug"));
  fresh.initConfig(second.count(), second.vector(), nullptr);
  for (vu_config& each : all) {
    const auto reload = [&] { each.reload(second.count(), second.vector(), nullptr); };
    const std::string& debug = each.getParam("debug");
    each.setParam("userdata", "by the program", 's');
    reload();
    EXPECT_EQ("2 by the program", debug + " " + each.getParam("userdata"));
    EXPECT_EQ("1", each.getParam("own"));
    each.configParams(parser);  // replaces the program's, too
    EXPECT_EQ(path + ":3", each.origin("userdata"));
    reload();  // nothing of the former command line
    EXPECT_EQ(contentsOf(fresh), contentsOf(each));
  }
}

}  // namespace
}  // namespace vu::test
