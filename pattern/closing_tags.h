// Where the closing tags of a text stand, by their names.

#ifndef VU_PATTERN_CLOSING_TAGS_H_
#define VU_PATTERN_CLOSING_TAGS_H_

#include <array>
#include <deque>
#include <map>
#include <string_view>

namespace vu::detail {

/// Every "</name>" of a text from `begin` on. Whoever asks goes through the text once, from there
/// to its end, so that each closing tag is passed by once, however deep elements are nested.
class ClosingTags {
 public:
  ClosingTags(std::string_view text, std::size_t begin);

  /// Where the first "</name>" stands between `begin` and `end`, or -1. `begin` must not be less
  /// than in any call before.
  int find(std::string_view name, int begin, int end);

  /// The longest name that `name` begins with, shorter than itself, that is closed between `begin`
  /// and `end`; empty when there is none. `begin` as above. Adds to `compared` the length of every
  /// name that was considered.
  std::string_view shorterName(std::string_view name, int begin, int end, std::size_t& compared);

 private:
  struct Tag {
    int at;
    int next;  ///< The next tag of the same name in tags_, or -1.
  };
  struct Occurrences {
    int first = -1;  ///< In tags_; moves on with the questions.
    int last = -1;
  };
  using Names = std::map<std::string_view, Occurrences>;
  using Name = Names::value_type;

  Name* lookUp(std::string_view name);
  void add(std::string_view name, int at);
  int find(Name& name, int begin, int end);

  std::deque<Tag> tags_;  ///< In small blocks: to free a large one has malloc tidy up all it holds.
  Names names_;
  std::array<Name*, 64> recent_{};  ///< Some of names_, where they are found at once.
};

}  // namespace vu::detail

#endif  // VU_PATTERN_CLOSING_TAGS_H_
