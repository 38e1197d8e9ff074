#include "tools/suffix_list.h"

#include <idn2.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "domain/host.h"
#include "tools/command.h"
#include "tools/input.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

constexpr std::size_t kLongestToken = 1023;  // of a definition file
constexpr char kSystemList[] = "/usr/share/publicsuffix/public_suffix_list.dat";

/// The ASCII form of an international name; empty when it has none.
std::string asciiForm(const std::string& name) {
  char* converted = nullptr;
  // IDNA 2008 with the mapping of UTS 46, as browsers do.
  if (idn2_to_ascii_8z(name.c_str(), &converted, IDN2_NONTRANSITIONAL) != IDN2_OK) return "";
  const std::unique_ptr<char, void (*)(void*)> owner(converted, idn2_free);
  return converted;
}

/// Follows the marks of a list's sections. A list without any is one section of everything.
class SectionFilter {
 public:
  explicit SectionFilter(Section wanted) : wanted_(wanted) {}

  void readComment(std::string_view comment) {
    if (comment.find("===BEGIN ICANN DOMAINS===") != std::string_view::npos) {
      current_ = Section::icann;
    } else if (comment.find("===BEGIN PRIVATE DOMAINS===") != std::string_view::npos) {
      current_ = Section::privateDomains;
    } else if (comment.find("===END ") != std::string_view::npos) {
      current_ = Section::all;
    }
  }

  bool wantsRules() const { return wanted_ == Section::all || wanted_ == current_; }

 private:
  Section wanted_;
  Section current_ = Section::all;
};

/// A file that lives in memory only, to be opened by its path.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view text) : file_(memfd_create("vu-suffixes", MFD_CLOEXEC)) {
    if (file_.number() < 0) fail();
    while (!text.empty()) {
      const ssize_t written = write(file_.number(), text.data(), text.size());
      if (written < 0) fail();
      text.remove_prefix(static_cast<std::size_t>(written));
    }
  }

  std::string path() const { return "/proc/self/fd/" + std::to_string(file_.number()); }

 private:
  [[noreturn]] static void fail() {
    throw Refusal(std::string("cannot keep the suffix table in memory: ") + std::strerror(errno));
  }

  Descriptor file_;
};

std::string systemList() {
  if (access(kSystemList, F_OK) != 0) {
    throw Refusal(std::string("no Public Suffix List at ") + kSystemList +
                  ": install the Debian package publicsuffix, or name a definition file with "
                  "--suffixes");
  }
  return readFile(kSystemList);
}

}  // namespace

SuffixRule parseRule(std::string_view text) {
  const std::string_view mark =
      text.substr(0, 1) == "!" ? "!" : (text.substr(0, 2) == "*." ? "*." : "");
  const std::string name(text.substr(mark.size()));
  const bool ascii = std::all_of(name.begin(), name.end(),
                                 [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  std::string converted = ascii ? name : asciiForm(name);
  if (!vu::detail::isHostName(converted) || text.size() > kLongestToken) return {"", 0};
  const auto labels = 1 + static_cast<int>(std::count(converted.begin(), converted.end(), '.'));
  // An exception is itself what is registered; under any other rule one label more is.
  const int registered = mark == "!" ? labels : labels + static_cast<int>(mark.size() / 2) + 1;
  return {std::string(mark) + converted, registered};
}

std::vector<SuffixRule> parseSuffixList(std::string_view list, const std::string& name,
                                        Section section) {
  std::vector<SuffixRule> rules;
  SectionFilter filter(section);
  if (list.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    list.remove_prefix(kByteOrderMark.size());
  }
  for (int number = 1; !list.empty(); ++number) {
    const std::size_t lineEnd = list.find('\n');
    std::string_view line = list.substr(0, lineEnd);
    list.remove_prefix(lineEnd == std::string_view::npos ? list.size() : lineEnd + 1);
    if (line.substr(0, 2) == "//") {
      filter.readComment(line);
      continue;
    }
    while (!line.empty() && vu::detail::isSpace(line[0])) line.remove_prefix(1);
    // A rule ends at the first white space.
    line = line.substr(
        0, static_cast<std::size_t>(std::find_if(line.begin(), line.end(), vu::detail::isSpace) -
                                    line.begin()));
    if (line.empty() || !filter.wantsRules()) continue;
    SuffixRule rule = parseRule(line);
    if (rule.text.empty()) {
      throw Refusal(name + ":" + std::to_string(number) +
                    ": not a suffix rule: " + std::string(line.substr(0, 100)));
    }
    rules.push_back(std::move(rule));
  }
  if (rules.empty()) {
    throw Refusal(
        (section == Section::all ? "no suffix rules in " : "no rules of that section in ") + name);
  }
  return rules;
}

std::string definitionText(const std::vector<SuffixRule>& rules) {
  std::string text;
  for (const SuffixRule& rule : rules) text += rule.text + " " + val2str(rule.labels) + "\n";
  return text;
}

std::string_view shorterSuffix(const std::set<std::string, std::less<>>& suffixes,
                               std::string_view suffix) {
  std::string_view found;
  std::string_view rest = suffix;
  for (std::size_t dot = rest.find('.'); dot != std::string_view::npos; dot = rest.find('.')) {
    rest.remove_prefix(dot + 1);
    if (rest.find('.') != std::string_view::npos && suffixes.count(rest) != 0) found = rest;
  }
  return found;
}

std::unique_ptr<vu_cctld> makeTable(const std::string& path, const std::string& defaultDomain) {
  auto table = std::make_unique<vu_cctld>(nullptr, defaultDomain.c_str());
  if (!path.empty()) {
    checkReadable(path);
    try {
      table->initSet(path == "-" ? "/dev/stdin" : path.c_str());
    } catch (const vu_exception& failure) {
      throw Refusal(displayName(path) + ": " + failure.what() + "; \"vu suffixes check " + path +
                    "\" tells in which line");
    }
    return table;
  }
  const MemoryFile file(definitionText(parseSuffixList(systemList(), kSystemList, Section::all)));
  table->initSet(file.path().c_str());
  return table;
}

}  // namespace vu::tool
