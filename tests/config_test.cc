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

/// "daemon" and the words of a line; FILE stands for a path.
Arguments words(const std::string& line, const std::string& path = "") {
  std::vector<std::string> all = {"daemon"};
  std::istringstream stream(line);
  for (std::string each; stream >> each;) {
    const std::size_t file = each.find("FILE");
    all.push_back(file == std::string::npos ? each : each.replace(file, 4, path));
  }
  return Arguments(all);
}

constexpr char kUsage[] = R"(
Usage: daemon [OPTIONS] 
  -b <IP>:<port> bind to specified address for updates [10535]
  -d <IP>:<port> bind to specified address for DNS queries [53]
  -A hash size of VU system [24]
  -c user defined configuration file [none]
  -v Debug Logging (verbose) level [2]
  -P Show profiling status [0]
  -D Toggle executable as Daemon [0]
  -V Toggle syslog logging mode [0]
  -x Toggle signal (SIGTERM) handling [0]
  -x User defined parameter (-x userdata=value) [value]
  -x Cipher operation type (-x ciphertype=[0|1|2]) [0]
  -x System Identification (-x systemID=kpm0001) []
  -x is a server (-x isServer=0) [0])";

/// What lines and files lead to is compared with getopt and a regular expression by a fuzz target;
/// these are the kinds of failures.
TEST(CommandLine, FailsByKind) {
  const struct {
    const char* line;
    vu_failure kind;
    std::string message;
    const char* content = "";
  } rows[] = {
      {"-v 5 -h", vu_failure::usage, kUsage},
      {"-c /tmp", vu_failure::file, "Cannot open configuration file [/tmp]"},
      {"-c FILE", vu_failure::settings, "Unknown configure parameter in conf_file : Debug",
       "Debug 3"},
      {"-c FILE", vu_failure::number, "bad conversion [yes]", "isdaemon yes"},
  };
  for (const auto& row : rows) {
    const TemporaryFile file(row.content);
    const Arguments arguments = words(row.line, file.path());
    const auto parse = [&] { vu_getopt(arguments.count(), arguments.vector(), nullptr); };
    EXPECT_EQ(row.message, messageOf(parse)) << row.line;
    EXPECT_EQ(row.kind, kindOf(parse)) << row.line;
  }
  EXPECT_EQ("Empty Argument vector", messageOf([] { vu_getopt(1, nullptr, nullptr); }));
}

/// Longer than what is read of a file at a time.
TEST(CommandLine, ReadsLongLines) {
  const std::string many(5000000, 'a');
  const TemporaryFile file("debug " + many + "\n" + std::string(5000000, ' ') + "x\n" + many +
                           "=\n" + std::string(5000000, '#'));
  vu_getopt parser(0, nullptr, nullptr);
  parser.setConfigFile(file.path());
  int type = 0;
  EXPECT_EQ(many, parser.getOptItem("debug", type));
}

TEST(CommandLine, ReadsTables) {
  const vu_opt_helper none[] = {{}};
  EXPECT_EQ("Empty Option Definition", messageOf([&] { vu_getopt(0, nullptr, none); }));
  const vu_opt_helper table[] = {{"hidden", 'X', 's', "h", "never shown"},
                                 {"level", 'l', 'b', flagValue(-3), "level"},
                                 {"key", 'x', 'b', flagValue(LONG_MAX), nullptr},
                                 {"full", 'f', 'b', flagValue(LONG_MAX), "held"},
                                 {"other", 'o', '\xe9', "o", "a letter beyond ASCII"},
                                 {"late", 'c', 's', "", "file"},
                                 {}};
  const std::string most = std::to_string(LONG_MAX);
  const TemporaryFile file("hidden seen\nkey " + most + "\nlate lost\n");
  const TemporaryFile second("\nlevel 0x10\n");
  const std::string path = second.path();
  const Arguments arguments = words("-x k=4294967295 -f -cFILE -l -c" + path, file.path());
  vu_getopt parser(arguments.count(), arguments.vector(), table);
  EXPECT_EQ("hidden=seen (" + std::string(file.path()) + ":1)\nlevel=16 (" + path +
                ":2)\nkey=" + most + " (" + file.path() + ":2)\nfull=" + most +
                " (command line)\nother=o (default)\nlate=" + path + " (command line)\n",
            recordsOf(parser));
  int type = 7;
  EXPECT_EQ("Unknown Parameter nosuch", messageOf([&] { parser.getOptItem("nosuch", type); }));
  EXPECT_EQ(0, type);
  EXPECT_EQ("\nUsage: daemon [OPTIONS] \n\n  -l level [-3]\n  -x  [" + most + "]\n  -f held [" +
                most + "]\n  -o a letter beyond ASCII [o]\n  -c file []",
            messageOf([&] { parser.usageMsg(); }));

  // Direct calls.
  EXPECT_EQ(0, parser.setOptions('X', "hid=by hand"));
  EXPECT_STREQ("by hand", parser.getOptItem("hidden", type));
  EXPECT_EQ(0, parser.setOptions('x', "k=4294967295"));
  EXPECT_EQ(static_cast<long>(4294967295U), flagCount(parser.getOptItem("key", type)));
  for (const char* bad : {"nosuch=1", "key", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(-1, parser.setOptions('x', bad));
  }
  for (const char letter : {'q', '\0'}) EXPECT_EQ(-1, parser.setOptions(letter, "1"));
  EXPECT_EQ("Unknown Parameter NULL", messageOf([&] { parser.getOptItem(nullptr, type); }));
  testing::internal::CaptureStdout();
  EXPECT_EQ("Null configuration file definition",
            messageOf([&] { parser.setOptions('c', nullptr); }));
  EXPECT_EQ("NULL\n", testing::internal::GetCapturedStdout());
  const TemporaryFile bad("key none\n");
  EXPECT_EQ("bad conversion [none]", messageOf([&] { parser.setConfigFile(bad.path()); }));
  parser.parseConfigLine("level 5");
  EXPECT_EQ("set by program", parser.origin(1));
  for (const int index : {6, -1}) EXPECT_NE("", messageOf([&] { parser.origin(index); }));
  EXPECT_EQ(0, parser.getOptions());  // starts again from the defaults
  EXPECT_EQ(16, flagCount(parser.getOptItem("level", type)));
  EXPECT_EQ(-1, vu_getopt(0, nullptr, nullptr).setOptions('v', nullptr));
  EXPECT_EQ(0U,
            messageOf([] { vu_getopt(0, nullptr, nullptr).usageMsg(); }).find("\nUsage:  [OPT"));

  // A row without a letter ends what the command line may hold.
  const vu_opt_helper cut[] = {{"text", 't', 's', nullptr, "text"},
                               {"unnamed", '\0', 's', "", nullptr},
                               {"late", 'l', 'b', nullptr, nullptr},
                               {}};
  const Arguments alone = words(""), behind = words("-l");
  const std::string usage =
      messageOf([&] { vu_getopt(alone.count(), alone.vector(), cut).usageMsg(); });
  EXPECT_EQ(0U, usage.find("\nUsage: daemon [OPTIONS] \n  -t text []\n")) << usage;
  EXPECT_EQ(usage, messageOf([&] { vu_getopt(behind.count(), behind.vector(), cut); }));
}

bool takesDebug(const std::string& value) {
  static vu_getopt& parser = *new vu_getopt(0, nullptr, nullptr);
  int type = 0;
  parser.parseConfigLine("debug " + value);
  return parser.getOptItem("debug", type) == value;
}

/// Lines may be read while the process ends, by a static object or a thread that goes on.
TEST(CommandLine, IsReadWhileTheProcessEnds) {
  inChild([] {
    static const struct AtEnd {
      ~AtEnd() { takesDebug("4") ? void() : _exit(1); }
    } atEnd;
    EXPECT_TRUE(takesDebug("3"));
  });
}

/// What a letter makes of a text is compared with streams by the fuzz target.
TEST(Store, KeepsTheReferencesToItsTexts) {
  vu_config store;
  store.setParam("name", "abc", 'd');
  EXPECT_NE("", messageOf([&] { store.check("name"); }));
  const std::string& text = store.getParam("name");
  store.setParam("name", "a text too long for the room in a string itself", 's');
  store.check("name");
  EXPECT_EQ(&text, &store.getParam("name"));
  store.setParam("flag", flagValue(-1), 'b');
  EXPECT_EQ("-1", itemOf(store, "flag"));
  EXPECT_EQ("set by program", store.origin("flag"));
}

TEST(Store, GivesTypesThatFitTheLetter) {
  const config_helper records[] = {
      {"d", 'd', "-3"},   {"e", 'e', "0.5"},   {"l", 'l', "3"}, {"p", 'p', "no"},
      {"q", 'q', "text"}, {"u", 'u', "70000"}, {"none", 0, ""}, {}};
  const vu_config store(records);
  std::string all;
  for (const config_helper* record = records; record->name != nullptr; ++record) {
    const char* const name = record->name;
    const auto add = [&](auto get) {
      const std::string text = messageOf([&] { all += get(); });
      all += text.substr(0, text.find(" (loaded by program): wrong type [")) + "|";
    };
    add([&] { return val2str(store.get<int>(name)); });
    add([&] { return val2str(store.get<double>(name)); });
    add([&] { return val2str(store.get<unsigned int>(name)); });
    add([&] { return val2str(store.get<unsigned short>(name)); });
    add([&] { return store.get<std::string>(name); });
  }
  EXPECT_EQ(
      "-3|d|d|d|d|e|0.5|e|e|e|l|l|3|l|l|p|p|p|p (loaded by program): bad conversion [no]|p|"
      "q|q|q|q|text|u|u|u|4464|u|none|none|none|none|none|",
      all);
  EXPECT_EQ("Unknown Get Parameter [x]", messageOf([&] { store.get<int>("x"); }));
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
  EXPECT_EQ("unknown parameter", messageOf([&] { store.getConfItem("x"); }));
  const config_helper records[] = {{"a", 's', "1"}, {"b", 's', nullptr}, {}};
  EXPECT_EQ("Null value for parameter [b]", messageOf([&] { store.configParams(records); }));
  EXPECT_EQ("Unknown Get Parameter [a]", messageOf([&] { store.getParam("a"); }));
  EXPECT_EQ("Null value for parameter [b]", messageOf([&] { store.setParam("b", nullptr, 'd'); }));
  EXPECT_EQ("vu_config::setConfParam: Null name",
            messageOf([&] { store.setParam(nullptr, "", 's'); }));
  store.setConfParam(nullptr);
  EXPECT_EQ(0, store.configParams(nullptr));
  const config_helper good[] = {{"a", 's', "1"}, {"b", 'b', nullptr}, {}};
  EXPECT_EQ(2, store.configParams(good));
  EXPECT_EQ("0", store.getParam("b"));
  const vu_opt_helper table[] = {{"c", 'c', 's', "", ""}, {"d", 'd', 's', nullptr, ""}, {}};
  EXPECT_EQ("Null value for parameter [d]",
            messageOf([&] { store.initConfig(0, nullptr, table); }));
  EXPECT_EQ("Unknown Get Parameter [c]", messageOf([&] { store.getParam("c"); }));
  EXPECT_DEATH(
      {
        allocationsLeft = 0;
        store.getParam("a name that is unknown, which needs memory to be said");
      },
      "");
}

/// Copies share nothing, and many names are found again.
TEST(Store, HoldsAnyNumber) {
  vu_config store;
  for (int i = 0; i < 1000; ++i) store.setParam(val2str(i).c_str(), val2str(i * i).c_str(), 'd');
  vu_config copy = store;
  store.setParam("7", "changed", 's');
  const vu_config moved = std::move(copy);
  copy = store;
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(i * i, moved.get<int>(val2str(i).c_str()));
  EXPECT_EQ("changed", copy.getParam("7"));
}

TEST(Store, ReloadsInOneStep) {
  TemporaryFile file("\ndebug 3\nsystemID one-that-is-longer-than-a-small-string\n");
  const Arguments arguments = words("-v5 -cFILE -D", file.path());
  const std::string path = file.path();
  vu_config store;
  store.initConfig(arguments.count(), arguments.vector(), nullptr);
  const std::string& debug = store.getParam("debug");
  store.setParam("userdata", "by the program", 's');
  store.setParam("own", "1", 'd');
  const auto reload = [&] { store.reload(arguments.count(), arguments.vector(), nullptr); };
  file.rewrite("hash_size 9\ndebug abc\n");
  EXPECT_EQ("debug (" + path + ":2): bad conversion [abc]", messageOf(reload));
  EXPECT_EQ("3", debug);
  file.rewrite("debug 4\nuserdata by-the-file\ncipherType another-that-is-long-enough\n");
  reload();
  EXPECT_EQ("4", debug);
  EXPECT_EQ("by the program", store.getParam("userdata"));
  EXPECT_EQ("", store.getParam("systemID"));
  EXPECT_EQ("1", store.getParam("own"));
  store.initConfig(arguments.count(), arguments.vector(), nullptr);  // replaces the program's, too
  EXPECT_EQ(path + ":2", store.origin("userdata"));
  const Arguments others = words("-P1");
  store.reload(others.count(), others.vector(), nullptr);  // nothing of the former command line
  EXPECT_EQ("2 default 0", debug + " " + store.origin("debug") + " " + store.getParam("isdaemon"));

  // A store that was filled from a parser.
  const vu_getopt parser(arguments.count(), arguments.vector(), nullptr);
  vu_config loaded(parser.params()), known;
  EXPECT_EQ("loaded by program", loaded.origin("debug"));
  EXPECT_EQ(13, known.configParams(parser));
  EXPECT_EQ(path + ":1", known.origin("debug"));
  for (vu_config* each : {&loaded, &known}) {
    each->reload(others.count(), others.vector(), nullptr);
    EXPECT_EQ(contentsOf(store), contentsOf(*each));
  }
}

}  // namespace
}  // namespace vu::test
