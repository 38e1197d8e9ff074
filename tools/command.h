// What the sub-commands of vu have in common.

#ifndef VU_TOOLS_COMMAND_H_
#define VU_TOOLS_COMMAND_H_

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace vu::tool {

enum ExitStatus { kDone = 0, kRefused = 1, kWrongUsage = 2 };

/// Ends a command with a line on standard error and exit status 1.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Each adds its sub-command, which sets `exitStatus` when it has run.
void addClassify(CLI::App& app, int& exitStatus);
void addHost(CLI::App& app, int& exitStatus);
void addSettings(CLI::App& app, int& exitStatus);
void addStatus(CLI::App& app, int& exitStatus);

// Each adds its sub-command, which either does what it is asked or throws Refusal.
void addCiphers(CLI::App& app);
void addHash(CLI::App& app);
void addPairs(CLI::App& app);
void addSuffixes(CLI::App& app);
void addXml(CLI::App& app);

}  // namespace vu::tool

#endif  // VU_TOOLS_COMMAND_H_
