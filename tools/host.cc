// vu host: which host a browser goes to, a row for each URL.

#include <memory>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/host_reader.h"
#include "tools/input.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/table.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

struct HostOptions {
  std::vector<std::string> urls;
  std::vector<std::string> files;
  RowOptions rows;
  EntryEnd entryEnd = EntryEnd::line;
  bool isStrict = false;
};

constexpr int kMany = 1 << 20;

std::string_view nameOf(vu_host_kind kind) {
  switch (kind) {
    case vu_host_kind::name:
      return "name";
    case vu_host_kind::ipv4:
      return "ipv4";
    case vu_host_kind::ipv6:
      return "ipv6";
    case vu_host_kind::opaque:
      return "opaque";
    default:
      return "none";
  }
}

/// Writes the row of every URL as it comes.
class HostRows {
 public:
  explicit HostRows(const HostOptions& options)
      : table_({{"kind", 6}, {"host", 30}, {"port", 5, true}, {"refused", 25}, {"url"}},
               options.rows),
        hosts_(options.isStrict ? vu_url_text::url : vu_url_text::typed),
        entryEnd_(options.entryEnd) {
    table_.appendTitles(out_);
  }

  void write(std::string_view url) { write(hosts_.read(url), url); }

  void writeFile(const std::string& path) {
    LineBlocks blocks(path, entryEnd_);
    for (Buffer block; blocks.next(block);) {
      if (blocks.skipped() > 0) {
        vu_host tooLong;
        tooLong.refused = vu_host_refusal::tooLong;
        write(tooLong, "");
      }
      for (std::string_view lines = block.text(); !lines.empty();) {
        write(takeLine(lines, entryEnd_));
      }
      flush();
    }
  }

  void flush() {
    writeOut(out_.text());
    out_.clear();
  }

  bool hasRefused() const { return hasRefused_; }

 private:
  void write(const vu_host& host, std::string_view url) {
    const bool isRefused = host.refused != vu_host_refusal::none;
    hasRefused_ = hasRefused_ || isRefused;
    const std::string port = host.port < 0 ? "" : val2str(host.port);
    const Cell none;
    table_.append(out_, {nameOf(host.kind), host.text.empty() ? none : host.text,
                         port.empty() ? none : Cell(port),
                         isRefused ? Cell(refusalName(host.refused)) : none, url});
  }

  Table table_;
  HostReader hosts_;
  EntryEnd entryEnd_;
  Buffer out_;
  bool hasRefused_ = false;
};

int run(HostOptions options) {
  if (options.urls.empty() && options.files.empty()) options.files.emplace_back("-");
  HostRows rows(options);
  for (const std::string& url : options.urls) rows.write(url);
  rows.flush();
  bool areAllRead = true;
  for (const std::string& path : options.files) {
    try {
      rows.writeFile(path);
    } catch (const Refusal& refusal) {
      say(refusal.what());
      areAllRead = false;
    }
  }
  return areAllRead && !rows.hasRefused() ? kDone : kRefused;
}

}  // namespace

void addHost(CLI::App& app, int& exitStatus) {
  auto options = std::make_shared<HostOptions>();
  CLI::App* command = app.add_subcommand("host", "Tell which host a browser goes to, a row each");
  addOperands(*command, "URL", options->urls,
              "URLs, or what one types into an address bar. Without\n"
              "any, and without --file, standard input is read, one\na line");
  command
      ->add_option("-f,--file", options->files,
                   "Files of URLs, one a line; - is standard input. URLs\nof the command line "
                   "stand in front")
      ->option_text("FILE...")
      ->expected(1, kMany)
      ->allow_extra_args(false);
  command->add_flag("--strict", options->isStrict, "Refuse what has no scheme");
  addNull(*command, options->entryEnd);
  addRowOptions(*command, options->rows, "kind, host, port, refused, url");
  command->footer(
      "Exit status: 0 done, 1 a URL was refused or an input could not be read, 2 wrong usage.");
  command->callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace vu::tool
