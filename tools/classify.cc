// vu classify: URLs in, one row each out, in order. Blocks of whole lines are classified in threads
// of their own while the next ones are read; memory holds no more than a few blocks.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <future>
#include <iostream>
#include <memory>
#include <system_error>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>

#include "domain/host.h"
#include "tools/command.h"
#include "tools/input.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/rows.h"
#include "tools/suffix_list.h"
#include "tools/summary.h"
#include "tools/terminal.h"

namespace vu::tool {
namespace {

using Clock = std::chrono::steady_clock;

struct ClassifyOptions {
  std::vector<std::string> urls;
  std::vector<std::string> files;
  std::string suffixes;
  std::string defaultDomain;
  RowWriter::Choices rows;
  std::size_t threads = std::max(1U, std::thread::hardware_concurrency());
  bool summary = false;
  bool allowRefused = false;
};

const Words<vu_match> kMatches = {{"shortest", vu_match::shortest},
                                  {"public-suffix", vu_match::publicSuffix}};
const Words<RowColumn> kColumnWords = {
    {"status", RowColumn::status},   {"text", RowColumn::text}, {"domain", RowColumn::domain},
    {"address", RowColumn::address}, {"url", RowColumn::url},   {"subdomain", RowColumn::subdomain},
    {"suffix", RowColumn::suffix}};

constexpr int kMany = 1 << 20;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A line on standard error that tells how far the work is, when somebody can see it and the rows
/// go elsewhere. Gone when the object goes.
class Progress {
 public:
  ~Progress() { clear(); }

  void show(std::uint64_t urls) {
    if (!wanted_ || secondsSince(shown_) < 0.5) return;
    shown_ = Clock::now();
    const double rate = static_cast<double>(urls) / secondsSince(start_);
    std::cerr << "\r" << grouped(urls) << " URLs, " << grouped(static_cast<std::uint64_t>(rate))
              << " a second   " << std::flush;
    visible_ = true;
  }

  void clear() {
    if (visible_) std::cerr << "\r\033[K" << std::flush;
    visible_ = false;
  }

 private:
  bool wanted_ = obeysEscapes(STDERR_FILENO) && isatty(STDOUT_FILENO) == 0;
  bool visible_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point shown_ = start_;
};

/// A block of lines with what became of it.
struct Batch {
  Buffer lines;
  Buffer rows;
  Tally tally;
};

class Classifier {
 public:
  Classifier(const vu_cctld& table, const ClassifyOptions& options)
      : writer_(table, options.rows), threads_(options.threads) {}

  void writeTitles() const {
    Buffer titles;
    writer_.writeTitles(titles);
    writeOut(titles.text());
  }

  void classify(const std::string& url) {
    Batch batch;
    writer_.write(url, batch.rows, batch.tally);
    finish(batch);
  }

  void classifyFile(const std::string& path) {
    LineBlocks blocks(path);
    std::unique_ptr<Batch> batch = emptyBatch();
    while (blocks.next(batch->lines)) {
      if (threads_ > 1 && blocks.wasFull()) {
        start(std::move(batch));
        batch = emptyBatch();
      } else {
        // Little is there: whoever feeds us may be waiting for its rows.
        finishAll();
        writeRows(*batch);
        finish(*batch);
      }
    }
    finishAll();
    spare_.push_back(std::move(batch));
  }

  Summary& summary() { return summary_; }
  void clearProgress() { progress_.clear(); }

 private:
  struct Working {
    std::unique_ptr<Batch> batch;
    std::future<void> done;
  };

  /// Batches are used again: touching fresh memory costs more than writing the rows.
  std::unique_ptr<Batch> emptyBatch() {
    if (spare_.empty()) return std::make_unique<Batch>();
    std::unique_ptr<Batch> batch = std::move(spare_.back());
    spare_.pop_back();
    return batch;
  }

  void writeRows(Batch& batch) const {
    writer_.writeLines(batch.lines.text(), batch.rows, batch.tally);
  }

  void start(std::unique_ptr<Batch> batch) {
    if (working_.size() == threads_) finishFirst();
    const auto work = [this, mine = batch.get()] { writeRows(*mine); };
    std::future<void> done;
    try {
      done = std::async(std::launch::async, work);
    } catch (const std::system_error&) {
      // The system has no thread for us: the batch is done here, when its turn comes.
      done = std::async(std::launch::deferred, work);
    }
    working_.push_back({std::move(batch), std::move(done)});
  }

  void finishFirst() {
    Working first = std::move(working_.front());
    working_.pop_front();
    first.done.get();
    finish(*first.batch);
    spare_.push_back(std::move(first.batch));
  }

  void finishAll() {
    while (!working_.empty()) finishFirst();
  }

  void finish(Batch& batch) {
    summary_.add(batch.tally);
    progress_.show(summary_.urls());
    writeOut(batch.rows.text());
    batch.lines.clear();
    batch.rows.clear();
    batch.tally = Tally();
  }

  RowWriter writer_;
  std::size_t threads_;
  std::vector<std::unique_ptr<Batch>> spare_;
  std::deque<Working> working_;
  Summary summary_;
  Progress progress_;
};

/// Nothing is printed before it is known that every input can be read.
void checkFiles(const ClassifyOptions& options) {
  for (const std::string& path : options.files) {
    try {
      checkReadable(path);
    } catch (const Refusal& refusal) {
      if (path == options.files.front()) throw;
      throw Refusal(refusal.what() + std::string("; URLs stand in front of --file"));
    }
    if (!options.suffixes.empty() && isSameStream(path, options.suffixes)) {
      throw Refusal(displayName(path) + " cannot be both the suffixes and the URLs");
    }
  }
}

/// Tells a person who has named a file of URLs, or standard input, like a URL.
void noteFiles(const std::vector<std::string>& urls) {
  for (const std::string& url : urls) {
    if (url == "-") say("note: - is taken for a URL; without any, standard input is read");
    struct stat status {};
    if (stat(url.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
    say("note: " + url + " is a file, too; --file reads the URLs in it");
  }
}

int classify(ClassifyOptions options) {
  if (options.urls.empty() && options.files.empty()) {
    options.files.emplace_back("-");
  }
  checkFiles(options);
  const std::unique_ptr<vu_cctld> table = makeTable(options.suffixes, options.defaultDomain);
  noteFiles(options.urls);
  options.rows.countDomains = options.summary;
  options.rows.colours = showsColours(STDOUT_FILENO);
  RowOptions& form = options.rows.rows;
  form.header |= form.format == Format::table && isatty(STDOUT_FILENO) == 1;

  const Clock::time_point start = Clock::now();
  Classifier classifier(*table, options);
  classifier.writeTitles();
  for (const std::string& url : options.urls) classifier.classify(url);
  for (const std::string& path : options.files) classifier.classifyFile(path);
  classifier.clearProgress();
  if (options.summary) std::cerr << classifier.summary().text(secondsSince(start));
  return classifier.summary().refused() > 0 && !options.allowRefused ? kRefused : kDone;
}

}  // namespace

void addClassify(CLI::App& app, int& exitStatus) {
  auto options = std::make_shared<ClassifyOptions>();
  CLI::App* command =
      app.add_subcommand("classify", "Cut each URL down to its registered domain, a row each");
  addOperands(*command, "URL", options->urls,
              "URLs or host names. Without any, and without --file,\n"
              "standard input is read, one a line");
  command
      ->add_option("-f,--file", options->files,
                   "Files of URLs, one a line; - is standard input. URLs\nof the command line "
                   "stand in front")
      ->option_text("FILE...")
      ->expected(1, kMany)
      ->allow_extra_args(false);
  command
      ->add_option(
          "-s,--suffixes", options->suffixes,
          "Definition file of suffixes; otherwise the\nsystem's Public Suffix List is used")
      ->option_text("FILE")
      ->check(isNotEmpty);
  command
      ->add_option(
          "-d,--default-domain", options->defaultDomain,
          "What host names of a single label are completed\nwith; otherwise they are refused")
      ->option_text("DOMAIN")
      ->check([](const std::string& domain) {
        return vu::detail::isHostName(domain) ? "" : "not a domain name: " + domain;
      });
  addChoice(
      *command, "-m,--match", options->rows.match, kMatches,
      "shortest: the service's own rule, by the shortest\nlisted suffix of two labels or more "
      "(default).\npublic-suffix: the rules of the Public Suffix List");
  addRowOptions(*command, options->rows.rows, "status, text, domain, address, url");
  addList(*command, "--columns", options->rows.columns, kColumnWords,
          "Which columns, in which order; subdomain and suffix\nare there, too");
  command->add_flag("--only-failed", options->rows.onlyFailed, "Only the rows of refused URLs");
  addNumber<std::size_t>(*command, "-j,--threads", options->threads, 1, 256,
                         "How many threads; one a core otherwise");
  command->add_flag(
      "--summary", options->summary,
      "Afterwards, on standard error: rows by status,\nfrequent domains, URLs a second");
  command->add_flag("--allow-refused", options->allowRefused,
                    "Exit with 0 also when URLs were refused, for pipelines\nthat take any other "
                    "status for a failed step");
  command->footer(
      "Exit status: 0 done, 1 a URL was refused or an input could not be read, 2 wrong usage.\n"
      "In tsv a tab, line end or backslash inside a field is written \\t, \\n, \\r, \\\\; in a "
      "table\n"
      "all but printable ASCII is written \\xNN; in jsonl what is not UTF-8 becomes U+FFFD.");
  command->callback([options, &exitStatus] { exitStatus = classify(*options); });
}

}  // namespace vu::tool
