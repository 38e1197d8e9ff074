// The parser of XML fragments: what one expression for an element makes of a text, level by level.
//
// What the expression matches at a "<" can be told by looking: after a name and characters that
// attributes may have stands "/>", or ">" with a closing tag of that name somewhere behind it; the
// first such tag ends the element. Where there is no closing tag of the name, the expression gives
// back the name's last characters, one by one, to the attributes: the longest beginning of the name
// that is closed is the tag then. Nothing else matches. So an index of closing tags answers all
// that backtracking would try, in one pass over the text; by the expression itself, "<a><a><a>..."
// takes time that grows with the square of its length, and "<ab    >...</a>" with its cube.
// Ordinary texts do without the index.

#include <climits>
#include <string_view>
#include <vector>

#include "pattern/closing_tags.h"
#include "pattern/node_memory.h"
#include "pattern/xml_stack.h"
#include "pattern/xml_tag.h"
#include "vu/pattern.h"

namespace {

using vu::detail::findSign;
using vu::detail::NodeMaker;
using vu::detail::Span;

constexpr char kElement[] = R"(<(\w+)\s*([-'\w\s=]*?)>(.*?)</\1>|<(\w+)\s*([-'\w\s=]*?)/>)";
constexpr int kWithBody = 4;  // PCRE's results for the two forms of an element
constexpr int kWithoutBody = 6;

constexpr unsigned long long kSteps = 1'000'000;
constexpr unsigned long long kStepsPerByte = 16;

struct Element {
  Span tag;
  Span attrs;
  Span body;  ///< Empty for an empty-element tag.
  int sign;   ///< Where the first "<" of the body stands; the body's end when it has none.
  int end;
};

/// The element of a match, in either of the two ways to match.
Element elementOf(const char* text, const int* ovector, int rc) {
  const auto group = [ovector](std::size_t g) { return Span{ovector[2 * g], ovector[2 * g + 1]}; };
  if (rc == kWithBody) {
    const Span body = group(3);
    return {group(1), group(2), body, findSign(text, body.begin, body.end), ovector[1]};
  }
  return {group(4), group(5), {0, 0}, 0, ovector[1]};
}

/// Adds the node of an element to `parent`, with its text when that is all its body has. Whether
/// there are elements in it, `element.sign` tells.
xmldata* addNode(NodeMaker& nodes, xmldata& parent, const char* text, const Element& element) {
  xmldata* const node = nodes.add(parent, element.tag.of(text), element.attrs.of(text));
  if (element.sign == element.body.end) {
    node->setContext(text + element.body.begin, element.body.length());
  }
  return node;
}

[[noreturn]] void fail(const std::string& message) { throw vu_exception(vu_failure::xml, message); }

[[noreturn]] void failWith(int code) {
  fail("vu_pcrexml: PCRE matching error [" + val2str(code) + "]");
}

/// One pass over a text, in which the levels that are not finished stand on a stack of their own.
class Walk {
 public:
  /// `begin`: 0, or where the last of the elements ends that have been found.
  Walk(const char* text, int begin, int length, NodeMaker& nodes)
      : text_(text),
        begin_(begin),
        length_(length),
        nodes_(nodes),
        closings_({text, static_cast<std::size_t>(length)}, static_cast<std::size_t>(begin)) {}

  /// Adds the elements of the text to `parent`, with all below them.
  void run(xmldata* parent);

  /// After `run`, where the first level left something out; the text's length when none did.
  int stop() const { return stop_ >= 0 ? stop_ : length_; }

 private:
  /// The rest of a body whose elements become children of `node`.
  struct Level {
    xmldata* node;
    Span context;  ///< The text in front of the first "<".
    Span rest;     ///< What is not yet parsed.
    bool found;    ///< Whether an element has been.
  };

  bool next(Level& level, Element& element);
  void noteSkipped(const Level& level, const Element& element);
  void noteRest(const Level& level);
  bool elementAt(int at, int end, Element& element);
  std::string_view shorterName(std::string_view name, int body, int end);

  const char* text_;
  int begin_;
  int length_;
  NodeMaker& nodes_;
  vu::detail::ClosingTags closings_;
  std::vector<Level> levels_;
  unsigned long long steps_ = 0;
  int stop_ = -1;  ///< Levels go through the text in its order: what is noted first stands first.
};

void Walk::run(xmldata* parent) {
  levels_.push_back({parent, {0, 0}, {begin_, length_}, begin_ > 0});
  Element element{};
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (next(level, element)) {
      if (!level.found) noteSkipped(level, element);
      level.found = true;
      level.rest.begin = element.end;
      xmldata* const node = addNode(nodes_, *level.node, text_, element);
      const Span body = element.body;
      if (element.sign != body.end) {
        levels_.push_back({node, {body.begin, element.sign}, {element.sign, body.end}, false});
      }
      continue;
    }
    if (!level.found) fail("vu_pcrexml: No Match");
    if (level.context.length() > 0) {
      level.node->setContext(text_ + level.context.begin, level.context.length());
    }
    noteRest(level);
    levels_.pop_back();
  }
}

/// What stands in front of a level's first element is lost.
void Walk::noteSkipped(const Level& level, const Element& element) {
  const int begin = element.tag.begin - 1;
  const int prolog =
      level.rest.begin == 0 ? vu::detail::endOfProlog(text_, length_) : level.rest.begin;
  if (begin != prolog && stop_ < 0) stop_ = begin < prolog ? level.rest.begin : prolog;
}

/// What stands behind a level's last element is lost, but for blanks.
void Walk::noteRest(const Level& level) {
  const int end = vu::detail::skip(text_, level.rest.begin, level.rest.end, vu::detail::kBlanks);
  if (end != level.rest.end && stop_ < 0) stop_ = level.rest.begin;
}

/// The level's next element: the first may stand anywhere in it, any other at its beginning.
bool Walk::next(Level& level, Element& element) {
  int at = level.rest.begin;
  const int end = level.rest.end;
  if (level.found) return at < end && text_[at] == '<' && elementAt(at, end, element);
  while ((at = findSign(text_, at, end)) < end) {
    if (elementAt(at, end, element)) return true;
    ++at;
  }
  return false;
}

/// Whether an element begins with the "<" at `at` and ends before `end`.
bool Walk::elementAt(int at, int end, Element& element) {
  const vu::detail::OpeningTag open = vu::detail::readOpeningTag(text_, at, end);
  if (!open.isThere()) return false;
  const Span tag = open.name;
  if (open.isEmpty) {
    element = {tag, open.attrs, {0, 0}, 0, open.end};
    return true;
  }
  const int body = open.end;
  const std::string_view name = tag.of(text_);
  const int sign = findSign(text_, body, end);
  const int close =
      vu::detail::isClosingTag(text_, sign, end, name) ? sign : closings_.find(name, body, end);
  if (close >= 0) {
    element = {tag, open.attrs, {body, close}, sign, close + tag.length() + 3};
    return true;
  }
  const auto kept = static_cast<int>(shorterName(name, body, end).size());
  if (kept == 0) return false;
  const int attrsBegin = tag.begin + kept;
  const int shorterClose =
      closings_.find(name.substr(0, static_cast<std::size_t>(kept)), body, end);
  element = {{tag.begin, attrsBegin},
             {attrsBegin, open.attrs.end},
             {body, shorterClose},
             sign,
             shorterClose + kept + 3};
  return true;
}

/// The longest beginning of a name that is closed; bounded, as the expression's backtracking is.
std::string_view Walk::shorterName(std::string_view name, int body, int end) {
  std::size_t compared = 0;
  const std::string_view shorter = closings_.shorterName(name, body, end, compared);
  steps_ += compared;
  if (steps_ > kSteps + kStepsPerByte * static_cast<unsigned int>(length_))
    failWith(vu_pcre::stepLimit);
  return shorter;
}

int lengthOf(std::string_view text) {
  const std::size_t length = text.size();
  if (length > INT_MAX) fail("vu_pcrexml: Invalid length [" + val2str(length) + "]");
  return static_cast<int>(length);
}

/// What is no text at all is for PCRE to refuse.
void checkSubject(vu_pcre& expression, const char* subject, int len) {
  if (subject == nullptr || len < 0) failWith(expression.execute(subject, len, 0, 0));
}

}  // namespace

vu_pcrexml::vu_pcrexml() : _pcre(std::make_unique<vu_pcre>(kElement, 6, -1)) {}

vu_pcrexml::~vu_pcrexml() = default;

xmldata* vu_pcrexml::execute(const char* text, const char* tag) {
  return execute(text != nullptr ? std::string_view(text) : std::string_view(), tag);
}

xmldata* vu_pcrexml::execute(std::string_view text, const char* tag) {
  if (text.empty()) fail("vu_pcrexml::execute Empty Context");
  if (tag == nullptr || *tag == '\0') fail("vu_pcrexml::execute Empty Tag");
  auto root = std::make_unique<xmldata>(tag, lengthOf(tag), nullptr, 0);
  subpattern(root.get(), text.data(), lengthOf(text));
  return root.release();
}

void vu_pcrexml::subpattern(xmldata* parent, const char* subject, int len) {
  usedAll_ = false;
  stoppedAt_ = 0;
  if (parent == nullptr) fail("vu_pcrexml: Empty XML Data");
  checkSubject(*_pcre, subject, len);
  NodeMaker nodes(static_cast<std::size_t>(len));
  int stop = vu::detail::addOrdinaryElements(*parent, subject, len, nodes);
  if (stop != len || len == 0) {
    Walk walk(subject, stop, len, nodes);
    walk.run(parent);
    stop = walk.stop();
  }
  usedAll_ = stop == len;
  stoppedAt_ = static_cast<std::size_t>(stop);
}

void vu_pcrexml::composeXmldata(xmldata* parent, const char* subject, int len, int* ovector,
                                int rc) {
  if (rc != kWithBody && rc != kWithoutBody) {
    fail("vu_pcrexml: composeXmldata: Unknown PCRE retcode");
  }
  if (parent == nullptr) fail("vu_pcrexml: Empty XML Data");
  checkSubject(*_pcre, subject, len);
  const Element element = elementOf(subject, ovector, rc);
  NodeMaker nodes(0);
  xmldata* const node = addNode(nodes, *parent, subject, element);
  const Span body = element.body;
  if (element.sign == body.end) return;
  subpattern(node, subject + element.sign, body.end - element.sign);
  stoppedAt_ += static_cast<std::size_t>(element.sign);
  node->setContext(subject + body.begin, element.sign - body.begin);
}
