// vu: the library's subsystems for a person or a pipe.

#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/files.h"
#include "vu/foundation.h"
#include "vu/version.h"

namespace {

constexpr char kExitStatus[] = "Exit status: 0 done, 1 something was refused, 2 wrong usage.";

/// What a person reads who has mistyped something.
std::string explainUsage(const CLI::App* app, const CLI::Error& error) {
  const std::vector<std::string> unknown = app->remaining(true);
  const bool unknownCommand = error.get_name() == "RequiredError" && !unknown.empty();
  const std::string what = unknownCommand ? "there is no command " + unknown.front() : error.what();
  return "vu: " + what + "\nTry \"vu --help\" or \"vu COMMAND --help\".\n";
}

int run(int argc, char** argv) {
  int exitStatus = vu::tool::kDone;
  CLI::App app("Classify URLs by their registered domain, and look into what that rests on.", "vu");
  app.set_version_flag("--version", std::string("vu ") + vu_version);
  app.require_subcommand(1);
  app.failure_message(explainUsage);
  app.footer(kExitStatus);  // Sub-commands take it over as it is now.
  vu::tool::addClassify(app, exitStatus);
  vu::tool::addSuffixes(app, exitStatus);
  vu::tool::addStatus(app, exitStatus);
  app.footer(std::string(kExitStatus) + "\n\"vu COMMAND --help\" explains a command.");

  if (argc == 1) {
    std::cerr << app.help();
    return vu::tool::kWrongUsage;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? vu::tool::kDone : vu::tool::kWrongUsage;
  }
  return exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away is noticed by the write that fails.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return run(argc, argv);
  } catch (const vu::tool::ReaderGone&) {
    return vu::tool::kDone;
  } catch (const std::exception& failure) {
    std::cerr << "vu: " << failure.what() << '\n';
    return vu::tool::kRefused;
  }
}
