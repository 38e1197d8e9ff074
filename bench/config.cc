// A daemon's start: the default option table and six options of a command line, beside two
// libraries that are told of equal options. Describing the options is a part of the job, as it is
// in a daemon. Then the reads of a request, beside a container of numbers.

#include "vu/config.h"

#include <array>
#include <unordered_map>

#include <CLI/CLI.hpp>
#include <boost/program_options.hpp>

#include "bench/support.h"

namespace vu::bench {
namespace {

constexpr std::array<const char*, 12> kArguments = {"vud", "-b", "10536", "-d", "54", "-A",
                                                    "25",  "-v", "5",     "-D", "-x", "userdata=7"};
constexpr int kCount = static_cast<int>(kArguments.size());

/// What the options come to, as a daemon keeps them.
struct Settings {
  std::string inetPort = "10535";
  std::string dnsPort = "53";
  int hashSize = 24;
  std::string file = "none";
  int debug = 2;
  int showStatus = 0;
  bool isDaemon = false;
  bool syslog = false;
  std::vector<std::string> user;

  bool isRight() const {
    return inetPort == "10536" && dnsPort == "54" && hashSize == 25 && debug == 5 && isDaemon &&
           !syslog && user == std::vector<std::string>{"userdata=7"};
  }
};

vu_config parseByOurs(char* const* arguments) {
  vu_config settings(nullptr);
  settings.initConfig(kCount, arguments, nullptr);
  return settings;
}

Settings parseByCli11(char* const* arguments) {
  Settings settings;
  CLI::App app("daemon");
  app.add_option("-b,--inet_port", settings.inetPort, "bind to this address for updates");
  app.add_option("-d,--dns_port", settings.dnsPort, "bind to this address for DNS queries");
  app.add_option("-A,--hash_size", settings.hashSize, "hash size");
  app.add_option("-c,--conffile", settings.file, "configuration file");
  app.add_option("-v,--debug", settings.debug, "debug level");
  app.add_option("-P,--showstatus", settings.showStatus, "show profiling status");
  app.add_flag("-D,--isdaemon", settings.isDaemon, "run as a daemon");
  app.add_flag("-V,--syslog", settings.syslog, "use syslog");
  app.add_option("-x", settings.user, "name=value");
  app.parse(kCount, arguments);
  return settings;
}

Settings parseByBoost(char* const* arguments) {
  namespace po = boost::program_options;
  Settings settings;
  po::options_description all("daemon");
  auto describe = all.add_options();
  describe("inet_port,b", po::value(&settings.inetPort), "bind to this address for updates");
  describe("dns_port,d", po::value(&settings.dnsPort), "bind to this address for DNS queries");
  describe("hash_size,A", po::value(&settings.hashSize), "hash size");
  describe("conffile,c", po::value(&settings.file), "configuration file");
  describe("debug,v", po::value(&settings.debug), "debug level");
  describe("showstatus,P", po::value(&settings.showStatus), "show profiling status");
  describe("isdaemon,D", po::bool_switch(&settings.isDaemon), "run as a daemon");
  describe("syslog,V", po::bool_switch(&settings.syslog), "use syslog");
  describe("user,x", po::value(&settings.user), "name=value");
  po::variables_map map;
  po::store(po::parse_command_line(kCount, arguments, all), map);
  po::notify(map);
  return settings;
}

/// Parsers may move the arguments about, but not change them: a copy of the pointers will do.
class Arguments {
 public:
  Arguments() {
    for (std::size_t i = 0; i < kArguments.size(); ++i) pointers_[i] = texts_[i].data();
  }
  char* const* get() { return pointers_.data(); }

 private:
  std::vector<std::string> texts_{kArguments.begin(), kArguments.end()};
  std::array<char*, kArguments.size() + 1> pointers_{};
};

void initConfig(benchmark::State& state) {
  Arguments arguments;
  const vu_config settings = parseByOurs(arguments.get());
  require(settings.getParam("inet_port") == "10536" && settings.getParam("dns_port") == "54" &&
              settings.getConfItem("hash_size").asInt == 25 &&
              settings.getConfItem("debug").asInt == 5 &&
              settings.getConfItem("isdaemon").asInt == 1 &&
              settings.getConfItem("syslog").asInt == 0 && settings.getParam("userdata") == "7",
          "initConfig has read other settings");
  measureCall(state, [&] { return parseByOurs(arguments.get()); });
}

template <typename Parse>
void peer(benchmark::State& state, Parse parse) {
  Arguments arguments;
  require(parse(arguments.get()).isRight(), "a peer has read other settings");
  measureCall(state, [&] { return parse(arguments.get()); });
}

/// What a daemon reads for a request, in turn: three numbers and a text.
constexpr std::array<const char*, 4> kRead = {"debug", "inet_port", "hash_size", "showstatus"};

void readSettings(benchmark::State& state) {
  Arguments arguments;
  const vu_config settings = parseByOurs(arguments.get());
  require(settings.getConfItem("hash_size").asInt == 25, "a setting is another one");
  measureEach(state, kRead, [&](const char* name) { return settings.getConfItem(name); });
}

/// The same of values that stand ready in a container, asked by names that stand ready, too.
void readContainer(benchmark::State& state) {
  std::unordered_map<std::string, int> values;
  for (const vu_opt_helper* row = opt_helper; row->name != nullptr; ++row) values[row->name] = 25;
  const std::vector<std::string> names(kRead.begin(), kRead.end());
  measureEach(state, names, [&](const std::string& name) { return values.find(name)->second; });
}

}  // namespace

void registerConfig() {
  add("config/read/vu", readSettings);
  add("config/read/unordered-map", readContainer);
  add("config/init/vu", initConfig);
  add("config/init/cli11", [](benchmark::State& state) { peer(state, parseByCli11); });
  add("config/init/boost", [](benchmark::State& state) { peer(state, parseByBoost); });
}

}  // namespace vu::bench
