// A text is ordinary when nothing of it is lost and every element is closed by the tag that a stack
// of open ones expects: elements follow each other directly, blanks stand behind the last of a
// level only, and none has its own name for an ancestor. As every "<" belongs to a tag then, the
// first closing tag of a name is the element's own, and no index of them is needed. What begins
// with an element that is not ordinary is left to the general way, which reads that element again.
// Deep nesting is left to it, too, so that a look through the stack costs no more than a tag.

#include "pattern/xml_stack.h"

#include <array>

#include "pattern/xml_tag.h"

namespace vu::detail {
namespace {

constexpr std::size_t kDeepest = 64;

struct Open {
  xmldata* node;
  std::string_view name;
};

class Stack {
 public:
  Stack(xmldata& root, const char* text, int length, NodeMaker& nodes)
      : text_(text), length_(length), nodes_(nodes) {
    open_[depth_++] = {&root, {}};
  }

  int run() {
    at_ = findSign(text_, 0, length_);
    while (at_ < length_ && !startsTag()) at_ = findSign(text_, at_ + 1, length_);
    if (at_ == length_ || at_ != endOfProlog(text_, length_)) return 0;
    int done = 0;
    while (startsTag() ? enter() : leave()) {
      if (depth_ == 0) return length_;
      if (depth_ == 1) done = at_;
    }
    if (depth_ > 1) {
      std::list<xmldata*>& all = open_[0].node->_children;
      delete all.back();
      all.pop_back();
    }
    return done;
  }

 private:
  bool startsTag() const {
    return length_ - at_ >= 2 && text_[at_] == '<' && contains(kNameCharacters, text_[at_ + 1]);
  }

  /// An element, and the text that its body begins with.
  bool enter() {
    const OpeningTag tag = readOpeningTag(text_, at_, length_);
    const std::string_view name = tag.name.of(text_);
    if (!tag.isThere() || (!tag.isEmpty && (depth_ == kDeepest || isOpen(name)))) return false;
    xmldata* const node = nodes_.add(*open_[depth_ - 1].node, name, tag.attrs.of(text_));
    at_ = tag.end;
    if (tag.isEmpty) return true;
    open_[depth_++] = {node, name};
    at_ = findSign(text_, tag.end, length_);
    node->setContext(text_ + tag.end, at_ - tag.end);
    return true;
  }

  bool isOpen(std::string_view name) const {
    for (std::size_t i = 1; i < depth_; ++i) {
      const std::string_view other = open_[i].name;
      if (other.front() == name.front() && other == name) return true;
    }
    return false;
  }

  /// The end of a level.
  bool leave() {
    const int end = skip(text_, at_, length_, kBlanks);
    const std::string_view name = open_[depth_ - 1].name;
    if (depth_ == 1 ? end != length_ : !isClosingTag(text_, end, length_, name)) return false;
    if (--depth_ > 0) at_ = end + static_cast<int>(name.size()) + 3;
    return true;
  }

  const char* text_;
  int length_;
  NodeMaker& nodes_;
  int at_ = 0;
  std::array<Open, kDeepest> open_;
  std::size_t depth_ = 0;
};

}  // namespace

int addOrdinaryElements(xmldata& parent, const char* text, int length, NodeMaker& nodes) {
  return Stack(parent, text, length, nodes).run();
}

}  // namespace vu::detail
