// XML fragments, told plainly: the expression matches every element of every level.

#ifndef VU_TESTS_PLAIN_XML_H_
#define VU_TESTS_PLAIN_XML_H_

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support.h"
#include "vu/pattern.h"

namespace vu::test {

inline std::string dump(const xmldata& tree, int mode = 0, int depth = 0) {
  std::ostringstream out;
  tree.display(depth, mode, out);
  return out.str();
}

/// An element: one with a body is a match of four pairs, an empty one of six.
constexpr char kElement[] = R"(<(\w+)\s*([-'\w\s=]*?)>(.*?)</\1>|<(\w+)\s*([-'\w\s=]*?)/>)";

/// Recurses with the depth of the text, and takes quadratic time.
class PlainParser {
 public:
  /// The tree of a text as a dump, or the message.
  std::string parse(std::string_view text) {
    xmldata root("data", 4, nullptr, 0);
    const std::string message =
        messageOf([&] { level(root, text.data(), static_cast<int>(text.size())); });
    return message.empty() ? dump(root) : message;
  }

 private:
  void level(xmldata& parent, const char* subject, int len) {
    int offset = 0;
    for (int options = 0;; options = vu_pcre::anchored | vu_pcre::notEmpty) {
      const int r = element_.execute(subject, len, offset, options);
      if (r == -1 && offset != 0) return;
      if (r == -1) throw vu_exception("vu_pcrexml: No Match");
      if (r < 0) throw vu_exception("vu_pcrexml: PCRE matching error [" + val2str(r) + "]");
      const int* const results = element_.results();
      const std::vector<int> ovector(results, results + std::ptrdiff_t{3} * r);
      offset = ovector[1];
      const std::size_t tag = r == 4 ? 1 : 4;
      const auto begin = [&](std::size_t g) { return subject + ovector[2 * g]; };
      const auto size = [&](std::size_t g) { return ovector[2 * g + 1] - ovector[2 * g]; };
      auto* const node = new xmldata(begin(tag), size(tag), begin(tag + 1), size(tag + 1));
      parent.addData(node);
      if (r != 4 || size(3) == 0) continue;
      const std::string_view body(begin(3), static_cast<std::size_t>(size(3)));
      const int k = static_cast<int>(std::min(body.find('<'), body.size()));
      if (k < size(3)) level(*node, body.data() + k, size(3) - k);
      if (k > 0) node->setContext(body.data(), k);
    }
  }

  vu_pcre element_{kElement, 6, -1};
};

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_XML_H_
