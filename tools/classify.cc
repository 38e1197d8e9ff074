// vu classify: URLs in, one row each out, in order. Blocks of whole lines are classified in threads
// of their own while the next ones are read; memory holds no more than a few blocks.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "domain/host.h"
#include "tools/command.h"
#include "tools/fields.h"
#include "tools/input.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/relay.h"
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
  std::vector<std::string> suffixes;
  std::string defaultDomain;
  std::string field;
  FieldForm fieldForm = FieldForm::none;
  bool haveTitles = false;  ///< Rows with such a field.
  RowWriter::Choices rows;
  std::size_t threads = std::max(1U, std::thread::hardware_concurrency());
  std::size_t top = 0;
  unsigned int sections = 0;  ///< Of vu_narrowing.
  bool listedOnly = false;
  bool explain = false;
  bool withPlace = false;
  bool summary = false;
  bool allowRefused = false;
};

const Words<vu_match> kMatches = {{"shortest", vu_match::shortest},
                                  {"public-suffix", vu_match::publicSuffix}};
const Words<HostRule> kHostRules = {{"browser", HostRule::browser}, {"service", HostRule::service}};
const Words<RowColumn> kColumnWords = {
    {"status", RowColumn::status},   {"text", RowColumn::text}, {"domain", RowColumn::domain},
    {"address", RowColumn::address}, {"url", RowColumn::url},   {"subdomain", RowColumn::subdomain},
    {"suffix", RowColumn::suffix},   {"rule", RowColumn::rule}, {"section", RowColumn::section},
    {"file", RowColumn::file},       {"line", RowColumn::line}};
const Words<unsigned int> kSections = {{"icann", VU_ICANN_ONLY}, {"all", 0}};

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
  UrlPlace place;    ///< Of its first line.
  FieldShape shape;  ///< Of its lines, where a field of them has the URL.
  Buffer lines;
  Buffer rows;
  Tally tally;
  OddRows odd;

  void clear() {
    lines.clear();
    rows.clear();
    tally = Tally();
    odd = OddRows();
  }
};

/// What a file begins with that is compressed, and what reads it.
constexpr std::pair<std::string_view, std::string_view> kCompressed[] = {
    {"\x1F\x8B", "zcat"},
    {"\x28\xB5\x2F\xFD", "zstdcat"},
    {"\xFD\x37zXZ", "xzcat"},
    {"BZh", "bzcat"}};

void noteBlanks(const std::string& where) {
  say("note: blanks around a URL, as in " + where + ", are taken for part of it");
}

/// Tells a person, once a file, what its beginning has that is seldom meant.
void noteOddities(const std::string& name, std::string_view block, EntryEnd end, bool seesBlanks) {
  for (const auto& [beginning, reader] : kCompressed) {
    if (block.substr(0, beginning.size()) != beginning) continue;
    say("note: " + name + " is compressed; " + std::string(reader) + " makes lines of it");
    return;
  }
  if (end == EntryEnd::line && block.find('\0') != std::string_view::npos) {
    say("note: " + name + " has NUL bytes in it; with --null they end a URL, instead of line ends");
    return;
  }
  for (std::uint64_t number = 1; seesBlanks && !block.empty(); ++number) {
    if (!hasBlankAround(takeLine(block, end))) continue;
    noteBlanks(name + ":" + val2str(number));
    return;
  }
}

class Classifier {
 public:
  Classifier(const vu_cctld& table, const ClassifyOptions& options)
      : table_(table), options_(options), entryEnd_(options.rows.entryEnd) {
    if (options.field.empty()) writer_.emplace(table, options.rows);
  }

  /// Above all rows, but for those of fields, whose titles go on those of the first file.
  void writeTitles() const {
    if (!writer_) return;
    Buffer titles;
    writer_->writeTitles(titles);
    writeOut(titles.text());
  }

  void classify(const std::string& url) {
    Batch batch;
    writer_->write(url, {}, batch.rows, batch.tally);
    finish(batch);
  }

  /// Throws Refusal once the rows in front of what cannot be read are done.
  void classifyFile(const std::string& path) {
    const std::string name = displayName(path);
    RowBlocks blocks(path, entryEnd_, options_.fieldForm);
    UrlPlace next{name, 1};
    bool isFirst = true;
    told_ = OddRows();
    relay_.run(
        options_.threads,
        {[&](Batch& batch) { return take(blocks, batch, next, std::exchange(isFirst, false)); },
         [this](Batch& batch) { writeRows(batch); }, [this](Batch& batch) { finish(batch); }});
  }

  Summary& summary() { return summary_; }
  void clearProgress() { progress_.clear(); }

 private:
  /// Reads the next block, which begins at `next`.
  Taken take(RowBlocks& blocks, Batch& batch, UrlPlace& next, bool isFirst) {
    batch.clear();
    if (!blocks.next(batch.lines)) return Taken::nothing;
    const bool areUrls = options_.field.empty();
    if (isFirst) {
      noteOddities(std::string(next.file), batch.lines.text(), entryEnd_, areUrls && seesBlanks());
      if (!areUrls) beginFields(blocks, batch, next);
    }
    batch.place = next;
    batch.shape = shape_;
    if (!areUrls || writer_->has(RowColumn::line)) {
      next.line += linesOf(batch.lines.text(), blocks.skipped());
    }
    if (blocks.skipped() > 0) writeSkipped(blocks.skipped(), batch);
    return blocks.wasFull() ? Taken::much : Taken::little;
  }

  /// Learns from the first row of a file where its URLs are. The titles of the first file are
  /// written with ours behind them; those of the others must be the same.
  void beginFields(const RowBlocks& blocks, Batch& batch, UrlPlace& place) {
    const std::string name(place.file);
    if (blocks.skipped() > 0) throw Refusal(name + " begins with too long a row");
    if (!writer_) {
      form_ = blocks.form();
      RowWriter::Choices choices = options_.rows;
      choices.rows.format = form_ == FieldForm::csv ? Format::csv : Format::tsv;
      choices.rows.header = options_.haveTitles;
      writer_.emplace(table_, choices);
      fields_.emplace(form_, *writer_);
    }
    if (blocks.form() != form_) throw Refusal(name + " is not of the form of the first file");
    std::string_view block = batch.lines.text();
    shape_ = fields_->shape(block, options_.field, name);
    if (!options_.haveTitles) return;
    const std::string_view titles = fields_->takeTitles(block);
    place.line += linesOf(titles, 0);
    if (titles_.empty()) {
      titles_ = titles;
      if (options_.top == 0) fields_->writeTitles(titles, batch.rows);
    } else if (titles != titles_) {
      throw Refusal(name + " has other titles in its first row than the first file");
    }
    Buffer rows;
    rows += block;
    batch.lines = std::move(rows);
  }

  /// A browser takes no blank for part of a URL.
  bool seesBlanks() const { return options_.rows.host != HostRule::browser; }

  void writeRows(Batch& batch) const {
    if (fields_) {
      fields_->write(batch.lines.text(), batch.place, batch.shape, batch.rows, batch.tally,
                     batch.odd);
    } else {
      writer_->writeLines(batch.lines.text(), batch.place, batch.rows, batch.tally);
    }
  }

  void writeSkipped(std::uint64_t length, Batch& batch) const {
    if (fields_) {
      fields_->writeSkipped(length, batch.place, batch.shape, batch.rows, batch.tally);
    } else {
      writer_->writeSkipped(length, batch.place, batch.rows, batch.tally);
    }
  }

  /// How many lines a block has, or stands for.
  std::uint64_t linesOf(std::string_view block, std::uint64_t skipped) const {
    if (skipped > 0) return 1;
    return static_cast<std::uint64_t>(
        std::count(block.begin(), block.end(), static_cast<char>(entryEnd_)));
  }

  /// Tells of the first row of each kind in a file that is seldom meant so.
  void noteOdd(const Batch& batch) {
    const auto isNew = [](std::uint64_t line, std::uint64_t& told) {
      return line > 0 && std::exchange(told, line) == 0;
    };
    const std::string where = std::string(batch.place.file) + ":";
    if (isNew(batch.odd.uneven, told_.uneven)) {
      say("note: fields in " + where + val2str(batch.odd.uneven) + ": " +
          std::to_string(batch.odd.unevenCount) +
          ", in its first row: " + std::to_string(batch.shape.count));
    }
    if (seesBlanks() && isNew(batch.odd.blanks, told_.blanks))
      noteBlanks(where + val2str(batch.odd.blanks));
  }

  void finish(Batch& batch) {
    summary_.add(batch.tally);
    if (fields_) noteOdd(batch);
    progress_.show(summary_.urls());
    writeOut(batch.rows.text());
  }

  const vu_cctld& table_;
  const ClassifyOptions& options_;
  EntryEnd entryEnd_;
  std::optional<RowWriter> writer_;  ///< Of fields, once their form is known.
  std::optional<FieldRows> fields_;  ///< Only where a field of a row has the URL.
  FieldForm form_ = FieldForm::none;
  FieldShape shape_;    ///< Of the rows of the file that is read.
  std::string titles_;  ///< Of the first file.
  OddRows told_;        ///< Of the file that is read.
  Relay<Batch> relay_;
  Summary summary_;
  Progress progress_;
};

/// Throws Refusal where the suffixes take the bytes that are meant for URLs, or for other suffixes.
void checkSuffixes(const ClassifyOptions& options) {
  for (auto suffixes = options.suffixes.begin(); suffixes != options.suffixes.end(); ++suffixes) {
    const auto isTheSame = [&](const std::string& path) { return isSameStream(path, *suffixes); };
    if (std::any_of(options.files.begin(), options.files.end(), isTheSame)) {
      throw Refusal(displayName(*suffixes) + " cannot be both the suffixes and the URLs");
    }
    if (std::any_of(options.suffixes.begin(), suffixes, isTheSame)) {
      throw Refusal(displayName(*suffixes) + " can be read once only");
    }
  }
}

/// Takes in what is asked for beside the columns. Throws Refusal where the table cannot tell it,
/// ValidationError where it makes no sense.
void addQuestions(ClassifyOptions& options, const vu_cctld& table) {
  RowWriter::Choices& rows = options.rows;
  const auto add = [&rows](std::initializer_list<RowColumn> columns) {
    for (const RowColumn each : columns) {
      if (std::count(rows.columns.begin(), rows.columns.end(), each) == 0) {
        rows.columns.push_back(each);
      }
    }
  };
  if (options.explain) add({RowColumn::rule, RowColumn::section});
  if (options.withPlace) add({RowColumn::file, RowColumn::line});
  rows.narrowing = options.sections | (options.listedOnly ? VU_LISTED_ONLY : 0U);
  if (rows.narrowing != 0 && rows.match != vu_match::publicSuffix) {
    throw CLI::ValidationError("--sections and --listed-only are for --match public-suffix");
  }
  if (options.sections != 0 && table.facts().icann == 0) {
    throw Refusal(
        "these suffixes have no sections; take a Public Suffix List, or what \"vu suffixes build "
        "--compiled\" makes of one");
  }
}

/// Takes in that a field of each row has its URL. Throws ValidationError where that makes no sense.
void addField(ClassifyOptions& options, bool isFormGiven, bool areColumnsGiven) {
  const RowOptions& form = options.rows.rows;
  options.fieldForm = FieldForm::byContent;
  if (options.top == 0 && isFormGiven) {
    if (form.format != Format::csv && form.format != Format::tsv) {
      throw CLI::ValidationError("--field adds columns to rows of csv or tsv and keeps their form");
    }
    options.fieldForm = form.format == Format::csv ? FieldForm::csv : FieldForm::tsv;
  }
  if (!options.urls.empty()) {
    throw CLI::ValidationError("--field is for rows of files, not for " + options.urls.front());
  }
  options.haveTitles = form.header || !isFieldNumber(options.field);
  if (!areColumnsGiven) options.rows.columns.pop_back();  // the row has the URL
}

/// Classifies the files, those behind one that cannot be read, too. False when there was one.
bool classifyFiles(Classifier& classifier, const std::vector<std::string>& files) {
  bool areAllRead = true;
  for (const std::string& path : files) {
    try {
      classifier.classifyFile(path);
    } catch (const Refusal& refusal) {
      const bool mayBeUrl = path != files.front() && path != "-" && access(path.c_str(), F_OK) != 0;
      say(refusal.what() + std::string(mayBeUrl ? "; URLs stand in front of --file" : ""));
      areAllRead = false;
    }
  }
  return areAllRead;
}

/// The most frequent domains, a row each.
void writeTop(const Summary& summary, const ClassifyOptions& options) {
  const Summary::Counts most = summary.mostFrequent(options.top);
  const std::size_t width = most.empty() ? 0 : std::to_string(most.front().second).size();
  const Table table({{"count", width, true}, {"domain"}}, options.rows.rows);
  Buffer out;
  table.appendTitles(out, options.rows.colours);
  for (const auto& [domain, count] : most) table.append(out, {std::to_string(count), domain});
  writeOut(out.text());
  if (summary.shortfall() > 0) {
    say("note: counts may be up to " + grouped(summary.shortfall()) + " too low");
  }
}

/// Tells a person who has named a file of URLs, or standard input, like a URL.
void noteFiles(const std::vector<std::string>& urls, HostRule rule) {
  for (const std::string& url : urls) {
    if (rule == HostRule::service && hasBlankAround(url)) noteBlanks("\"" + url + "\"");
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
  checkSuffixes(options);
  const std::unique_ptr<vu_cctld> table = makeTable(options.suffixes, options.defaultDomain);
  addQuestions(options, *table);
  noteFiles(options.urls, options.rows.host);
  options.rows.countDomains = options.summary || options.top > 0;
  options.rows.isSilent = options.top > 0;
  options.rows.colours = showsColours(STDOUT_FILENO);
  RowOptions& form = options.rows.rows;
  form.header |= form.format == Format::table && isatty(STDOUT_FILENO) == 1;

  const Clock::time_point start = Clock::now();
  Classifier classifier(*table, options);
  if (options.top == 0) classifier.writeTitles();
  for (const std::string& url : options.urls) classifier.classify(url);
  const bool areAllRead = classifyFiles(classifier, options.files);
  classifier.clearProgress();
  const Summary& summary = classifier.summary();
  if (options.top > 0) writeTop(summary, options);
  if (options.summary) std::cerr << summary.text(secondsSince(start));
  const bool isGood = areAllRead && (summary.refused() == 0 || options.allowRefused);
  return isGood ? kDone : kRefused;
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
          "File of suffixes in any form; may stand more than\nonce, as with a list and additions. "
          "Otherwise\nVU_SUFFIXES names it, or the system has one")
      ->option_text("FILE")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(isNotEmpty);
  command
      ->add_option(
          "-d,--default-domain", options->defaultDomain,
          "What host names of a single label are completed\nwith; otherwise they are refused")
      ->option_text("DOMAIN")
      ->check([](const std::string& domain) {
        return vu::detail::isHostName(domain) ? "" : "not a domain name: " + domain;
      });
  addChoice(*command, "--host", options->rows.host, kHostRules,
            "browser: the host that a browser goes to (default).\nservice: what reputation was "
            "always kept by, byte for\nbyte, but misled by \"google.com:80@evil.example\"");
  addChoice(
      *command, "-m,--match", options->rows.match, kMatches,
      "shortest: the service's own rule, by the shortest\nlisted suffix of two labels or more "
      "(default).\npublic-suffix: the rules of the Public Suffix List");
  addRowOptions(*command, options->rows.rows, "status, text, domain, address, url");
  CLI::Option* columns =
      addList(*command, "--columns", options->rows.columns, kColumnWords,
              "Which columns, in which order; subdomain, suffix, rule,\nsection, file and line are "
              "there, too");
  command->add_flag("--explain", options->explain,
                    "Two columns more: the rule that decided, \"*\" where\nnone is listed, and its "
                    "section");
  addChoice(*command, "--sections", options->sections, kSections,
            "icann: rules of the list's private section do not\ncount; with --match public-suffix");
  command->add_flag("--listed-only", options->listedOnly,
                    "Refuse hosts for which no rule is listed; with\n--match public-suffix");
  command->add_flag("--with-place", options->withPlace,
                    "Two columns more: the file and line of a URL");
  command->add_flag("--only-failed", options->rows.onlyFailed, "Only the rows of refused URLs");
  addNull(*command, options->rows.entryEnd);
  command
      ->add_option("--field", options->field,
                   "Read rows of csv or tsv, and add columns to each for the\nURL in this field: "
                   "its title in the first row, or its\nnumber; with --header if there are titles")
      ->option_text("FIELD")
      ->check(isNotEmpty)
      ->excludes("--null");
  addNumber<std::size_t>(*command, "--top", options->top, 1, 65536,
                         "In place of the rows, the N most frequent domains,\neach with its count")
      ->excludes(columns);
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
      "A line of more than 64 MiB is no URL: its row, of status 1003, tells its length.");
  command->callback([options, command, columns, &exitStatus] {
    if (!options->field.empty()) {
      addField(*options, command->count("--format") > 0, columns->count() > 0);
    }
    exitStatus = classify(*options);
  });
}

}  // namespace vu::tool
