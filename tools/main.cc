// vu: the library's subsystems for a person or a pipe.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/output.h"
#include "tools/rows.h"
#include "vu/foundation.h"
#include "vu/version.h"

namespace {

constexpr char kExitStatus[] = "Exit status: 0 done, 1 something was refused, 2 wrong usage.";

/// A program may be started without standard input, output or error. The next file that it opens
/// would then be taken for one of them: their places are filled, so that using them fails.
void fillStandardPlaces() {
  for (int place = STDIN_FILENO; place <= STDERR_FILENO; ++place) {
    if (fcntl(place, F_GETFD) >= 0) continue;
    open("/dev/null", place == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

/// Operands are shown without the bound that they have inside.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option* option) const override {
    if (option->get_expected_max() <= 1) return CLI::Formatter::make_option_usage(option);
    return "[" + option->get_name(true) + "...]";
  }
};

/// What a person reads who has mistyped something.
std::string explainUsage(const CLI::App* app, const CLI::Error& error) {
  const std::vector<std::string> unknown = app->remaining(true);
  std::string what = error.what();
  if (error.get_name() == "RequiredError" && !unknown.empty()) {
    const char* const kind = unknown.front()[0] == '-' ? "option " : "command ";
    what = std::string("there is no ") + kind + unknown.front();
  }
  const std::vector<const CLI::App*> used = app->get_subcommands(nullptr);
  std::string command;
  for (const CLI::App* each : used) {
    if (each->parsed()) command = each->get_name() + " ";
  }
  std::string hint = "Try \"vu " + command + "--help\".";
  if (command == "settings ") hint += " A daemon's own arguments stand behind \"--\".";
  return "vu: " + vu::tool::visible(what) + "\n" + hint + "\n";
}

int run(int argc, char** argv) {
  int exitStatus = vu::tool::kDone;
  CLI::App app("Classify URLs by their registered domain, and look into what that rests on.", "vu");
  app.set_version_flag("--version", std::string("vu ") + vu_version);
  app.require_subcommand(1);
  app.failure_message(explainUsage);
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(kExitStatus);  // Sub-commands take it over as it is now.
  vu::tool::addClassify(app, exitStatus);
  vu::tool::addSettings(app, exitStatus);
  vu::tool::addSuffixes(app);
  vu::tool::addXml(app);
  vu::tool::addPairs(app);
  vu::tool::addCiphers(app);
  vu::tool::addHash(app);
  vu::tool::addStatus(app);
  app.footer(std::string(kExitStatus) + "\n\"vu COMMAND --help\" explains a command.");

  if (argc == 1) {
    std::cerr << app.help();
    return vu::tool::kWrongUsage;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    const bool asked = app.exit(error, out, std::cerr) == 0;
    vu::tool::writeOut(out.str());
    return asked ? vu::tool::kDone : vu::tool::kWrongUsage;
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
    std::cerr << "vu: not enough memory\n";
    return vu::tool::kRefused;
  } catch (const std::exception& failure) {
    std::cerr << "vu: " << vu::tool::visible(failure.what()) << '\n';
    return vu::tool::kRefused;
  }
}
