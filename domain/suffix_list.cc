#include "domain/suffix_list.h"

#include <algorithm>

#include "domain/definition_file.h"
#include "domain/host.h"
#include "domain/punycode.h"
#include "vu/foundation.h"

namespace vu::detail {
namespace {

std::string_view withoutMark(std::string_view bytes) {
  if (bytes.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    bytes.remove_prefix(kByteOrderMark.size());
  }
  return bytes;
}

std::string_view withoutSpaceInFront(std::string_view text) {
  text.remove_prefix(
      static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isSpace) - text.begin()));
  return text;
}

}  // namespace

ListedRule parseRule(std::string_view text) {
  const std::string_view mark =
      text.substr(0, 1) == "!" ? "!" : (text.substr(0, 2) == "*." ? "*." : "");
  const std::string name = asciiName(text.substr(mark.size()));
  if (!isHostName(name) || mark.size() + name.size() > kLongestToken) return {};
  const auto labels = 1 + static_cast<int>(std::count(name.begin(), name.end(), '.'));
  // An exception is itself what is registered; under any other rule one label more is.
  const int registered = mark == "!" ? labels : labels + static_cast<int>(mark.size() / 2) + 1;
  return {std::string(mark) + name, registered, kOwnRules};
}

bool isSuffixList(std::string_view bytes) noexcept {
  return withoutSpaceInFront(withoutMark(bytes)).substr(0, 2) == "//";
}

SuffixList::SuffixList(std::string_view bytes) : rest_(withoutMark(bytes)) {}

bool SuffixList::read(ListedRule& rule) {
  while (!rest_.empty()) {
    const std::size_t lineEnd = rest_.find('\n');
    std::string_view line = withoutSpaceInFront(rest_.substr(0, lineEnd));
    rest_.remove_prefix(lineEnd == std::string_view::npos ? rest_.size() : lineEnd + 1);
    ++line_;
    if (line.substr(0, 2) == "//") {
      readComment(line.substr(2));
      continue;
    }
    line = line.substr(0, static_cast<std::size_t>(std::find_if(line.begin(), line.end(), isSpace) -
                                                   line.begin()));
    if (line.empty()) continue;
    rule = parseRule(line);
    rule.section = section_;
    if (!rule.text.empty()) return true;
    bad_ = line.substr(0, 100);
    return false;
  }
  return false;
}

void SuffixList::readFact(std::string_view comment, std::string_view mark, const char* name) {
  if (comment.substr(0, mark.size()) != mark) return;
  std::string_view value = withoutSpaceInFront(comment.substr(mark.size()));
  while (!value.empty() && isSpace(value.back())) value.remove_suffix(1);
  info_.append(name).append(value.substr(0, 100)).append("\n");
}

/// Between its sections, and without marks of any, a list's rules are nobody's.
void SuffixList::readComment(std::string_view comment) {
  const auto has = [comment](std::string_view mark) {
    return comment.find(mark) != std::string_view::npos;
  };
  if (has("===BEGIN ICANN DOMAINS===")) section_ = kIcannRules;
  if (has("===BEGIN PRIVATE DOMAINS===")) section_ = kPrivateRules;
  if (has("===END ")) section_ = kOwnRules;
  comment = withoutSpaceInFront(comment);
  readFact(comment, "VERSION:", "version: ");
  readFact(comment, "COMMIT:", "commit: ");
}

}  // namespace vu::detail
