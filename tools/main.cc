// vu: the library's subsystems for a person or a pipe.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/messages.h"
#include "tools/output.h"
#include "tools/usage.h"
#include "tools/versions.h"

namespace {

constexpr char kExamples[] =
    "Examples:\n"
    "  vu classify http://www.bbc.co.uk/news\n"
    "  vu classify --file urls.txt --format tsv --summary\n"
    "  vu suffixes check suffixes.txt\n"
    "  vu status 204\n\n";
constexpr char kExitStatus[] = "Exit status: 0 done, 1 something was refused, 2 wrong usage.";

/// A program may be started without standard input, output or error. The next file that it opens
/// would then be taken for one of them: their places are filled, so that using them fails.
void fillStandardPlaces() {
  for (int place = STDIN_FILENO; place <= STDERR_FILENO; ++place) {
    if (fcntl(place, F_GETFD) >= 0) continue;
    open("/dev/null", place == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

/// Commands are called so in the help, and by name in the messages while they are under way.
void nameCommands(CLI::App& app) {
  for (CLI::App* each : app.get_subcommands(nullptr)) {
    each->group("Commands");
    each->preparse_callback(
        [each](std::size_t) { vu::tool::setSpeaker(vu::tool::fullName(*each)); });
    nameCommands(*each);
  }
}

int run(int argc, char** argv) {
  int exitStatus = vu::tool::kDone;
  CLI::App app("Classify URLs by their registered domain, and look into what that rests on.", "vu");
  app.set_version_flag("--version", vu::tool::versions,
                       "Print the versions of vu and its libraries, and which table is used");
  app.option_defaults()->disable_flag_override();  // "--summary=no" would be taken for "--summary".
  app.require_subcommand(1);
  app.formatter(vu::tool::helpFormatter());
  app.footer(kExitStatus);  // Sub-commands take it over as it is now.
  vu::tool::addClassify(app, exitStatus);
  vu::tool::addHost(app, exitStatus);
  vu::tool::addSettings(app, exitStatus);
  vu::tool::addSuffixes(app);
  vu::tool::addXml(app);
  vu::tool::addPairs(app);
  vu::tool::addCiphers(app);
  vu::tool::addHash(app);
  vu::tool::addStatus(app, exitStatus);
  app.footer(kExamples + std::string(kExitStatus) +
             "\n\"vu help COMMAND\" explains a command, \"man vu\" the whole.");
  nameCommands(app);

  if (argc == 1) {
    std::cerr << app.help();
    return vu::tool::kWrongUsage;
  }
  try {
    if (argv[1] == std::string("help")) {
      std::string text;
      if (!vu::tool::help(app, {argv + 2, argv + argc}, text)) return vu::tool::kWrongUsage;
      vu::tool::writeOut(text);
      return vu::tool::kDone;
    }
    // CLI11 takes a vector from its end.
    std::vector<std::string> words(std::make_reverse_iterator(argv + argc),
                                   std::make_reverse_iterator(argv + 1));
    app.parse(words);
  } catch (const CLI::Success& asked) {  // for help, or for the version
    std::ostringstream out;
    app.exit(asked, out);
    vu::tool::writeOut(out.str());
  } catch (const CLI::ParseError& error) {
    vu::tool::explain(app, error);
    return vu::tool::kWrongUsage;
  }
  return exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
  fillStandardPlaces();
  // A reader that goes away, or a file that may not grow, is noticed by the write that fails.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return run(argc, argv);
  } catch (const vu::tool::ReaderGone&) {
    return vu::tool::kDone;
  } catch (const std::bad_alloc&) {
    vu::tool::say("not enough memory");
    return vu::tool::kRefused;
  } catch (const std::exception& failure) {
    vu::tool::say(failure.what());
    return vu::tool::kRefused;
  }
}
