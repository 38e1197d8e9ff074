// Reading a list of rules as the Public Suffix List is written: a rule a line up to the first white
// space, in UTF-8, with comments that begin with "//" and tell where the list's sections begin.

#ifndef VU_DOMAIN_SUFFIX_LIST_H_
#define VU_DOMAIN_SUFFIX_LIST_H_

#include <string>
#include <string_view>

#include "domain/table_format.h"

namespace vu::detail {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct ListedRule {
  std::string text;  ///< In ASCII, "*." or "!" in front included; "" for what is no rule.
  int labels = 0;    ///< Of a domain registered under it.
  unsigned section = kOwnRules;
};

/// The rule that a text means.
ListedRule parseRule(std::string_view text);

/// Whether a file is such a list: it begins with a comment, behind white space or not.
bool isSuffixList(std::string_view bytes) noexcept;

class SuffixList {
 public:
  /// Reads the list whose bytes these are, which must outlive it.
  explicit SuffixList(std::string_view bytes);

  /// Reads the next rule. False at the end, and at a line that is no rule: then `bad` is not empty.
  bool read(ListedRule& rule);

  /// The beginning of a line that is no rule.
  std::string_view bad() const { return bad_; }
  /// The line, counted from 1, of the last rule or of that.
  int line() const { return line_; }
  /// What the comments tell of the list itself, as lines "version: ..." and "commit: ...".
  const std::string& info() const { return info_; }

 private:
  void readComment(std::string_view comment);
  void readFact(std::string_view comment, std::string_view mark, const char* name);

  std::string_view rest_;
  std::string_view bad_;
  std::string info_;
  unsigned section_ = kOwnRules;
  int line_ = 0;
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_SUFFIX_LIST_H_
