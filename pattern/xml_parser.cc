// The parser of XML fragments: what one expression for an element makes of a text, level by level.
//
// What the expression matches at a "<" can be told by looking: after a name and characters that
// attributes may have stands "/>", or ">" with a closing tag of that name somewhere behind it; the
// first such tag ends the element. Where there is no closing tag of the name, the expression gives
// back the name's last characters, one by one, to the attributes: the longest beginning of the name
// that is closed is the tag then. Nothing else matches. So an index of closing tags answers all
// that backtracking would try, in one pass over the text; by the expression itself, "<a><a><a>..."
// takes time that grows with the square of its length, and "<ab    >...</a>" with its cube.

#include <climits>
#include <cstring>
#include <string_view>
#include <vector>

#include "pattern/characters.h"
#include "pattern/closing_tags.h"
#include "vu/pattern.h"

namespace {

constexpr char kElement[] = R"(<(\w+)\s*([-'\w\s=]*?)>(.*?)</\1>|<(\w+)\s*([-'\w\s=]*?)/>)";
constexpr int kWithBody = 4;  // PCRE's results for the two forms of an element
constexpr int kWithoutBody = 6;

constexpr unsigned long long kSteps = 1'000'000;
constexpr unsigned long long kStepsPerByte = 16;

/// A piece of the text, by its offsets.
struct Span {
  int begin;
  int end;
  int length() const { return end - begin; }
};

struct Element {
  Span tag;
  Span attrs;
  Span body;  ///< Empty for an empty-element tag.
  int sign;   ///< Where the first "<" of the body stands; the body's end when it has none.
  int end;
};

/// Where the first "<" stands; `end` when there is none.
int findSign(const char* text, int begin, int end) {
  if (begin == end) return end;
  const void* const found = std::memchr(text + begin, '<', static_cast<std::size_t>(end - begin));
  return found != nullptr ? static_cast<int>(static_cast<const char*>(found) - text) : end;
}

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
xmldata* addNode(xmldata* parent, const char* text, const Element& element) {
  auto owner = std::make_unique<xmldata>(text + element.tag.begin, element.tag.length(),
                                         text + element.attrs.begin, element.attrs.length());
  parent->addData(owner.get());
  xmldata* const node = owner.release();
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
  Walk(const char* text, int length)
      : text_(text), length_(length), closings_({text, static_cast<std::size_t>(length)}) {}

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
  int endOfProlog() const;
  bool elementAt(int at, int end, Element& element);
  std::string_view shorterName(std::string_view name, int body, int end);
  bool isClosing(int at, int end, std::string_view name) const;
  int skip(int at, int end, const vu::detail::CharacterSet& which) const {
    while (at < end && vu::detail::contains(which, text_[at])) ++at;
    return at;
  }

  const char* text_;
  int length_;
  vu::detail::ClosingTags closings_;
  std::vector<Level> levels_;
  unsigned long long steps_ = 0;
  int stop_ = -1;  ///< Levels go through the text in its order: what is noted first stands first.
};

void Walk::run(xmldata* parent) {
  levels_.push_back({parent, {0, 0}, {0, length_}, false});
  Element element{};
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (next(level, element)) {
      if (!level.found) noteSkipped(level, element);
      level.found = true;
      level.rest.begin = element.end;
      xmldata* const node = addNode(level.node, text_, element);
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
  const int prolog = level.rest.begin == 0 ? endOfProlog() : level.rest.begin;
  if (begin != prolog && stop_ < 0) stop_ = begin < prolog ? level.rest.begin : prolog;
}

/// What stands behind a level's last element is lost, but for blanks.
void Walk::noteRest(const Level& level) {
  const int end = skip(level.rest.begin, level.rest.end, vu::detail::kBlanks);
  if (end != level.rest.end && stop_ < 0) stop_ = level.rest.begin;
}

/// Where the blanks, declarations and comments end that stand in front of the text's elements.
int Walk::endOfProlog() const {
  const std::string_view text(text_, static_cast<std::size_t>(length_));
  for (int at = 0;;) {
    at = skip(at, length_, vu::detail::kBlanks);
    const std::string_view rest = text.substr(static_cast<std::size_t>(at));
    const bool isComment = rest.substr(0, 4) == "<!--";
    if (!isComment && rest.substr(0, 2) != "<?") return at;
    const std::string_view close = isComment ? "-->" : "?>";
    const std::size_t end = rest.find(close, isComment ? 4 : 2);
    if (end == std::string_view::npos) return at;
    at += static_cast<int>(end + close.size());
  }
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
  const Span tag{at + 1, skip(at + 1, end, vu::detail::kNameCharacters)};
  if (tag.length() == 0) return false;
  const int attrs = skip(tag.end, end, vu::detail::kBlanks);
  const int mark = skip(attrs, end, vu::detail::kAttributeCharacters);
  if (end - mark >= 2 && text_[mark] == '/' && text_[mark + 1] == '>') {
    element = {tag, {attrs, mark}, {0, 0}, 0, mark + 2};
    return true;
  }
  if (mark == end || text_[mark] != '>') return false;

  const int body = mark + 1;
  const std::string_view name(text_ + tag.begin, static_cast<std::size_t>(tag.length()));
  const int sign = findSign(text_, body, end);
  const int close = isClosing(sign, end, name) ? sign : closings_.find(name, body, end);
  if (close >= 0) {
    element = {tag, {attrs, mark}, {body, close}, sign, close + tag.length() + 3};
    return true;
  }
  const auto kept = static_cast<int>(shorterName(name, body, end).size());
  if (kept == 0) return false;
  const int attrsBegin = tag.begin + kept;
  const int shorterClose =
      closings_.find(name.substr(0, static_cast<std::size_t>(kept)), body, end);
  element = {{tag.begin, attrsBegin},
             {attrsBegin, mark},
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

/// Whether "</name>" stands at `at` and ends before `end`.
bool Walk::isClosing(int at, int end, std::string_view name) const {
  if (end - at < static_cast<int>(name.size()) + 3 || text_[at + 1] != '/') return false;
  const char* const found = text_ + at + 2;
  return found[name.size()] == '>' && std::memcmp(found, name.data(), name.size()) == 0;
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
  Walk walk(subject, len);
  walk.run(parent);
  usedAll_ = walk.stop() == len;
  stoppedAt_ = static_cast<std::size_t>(walk.stop());
}

void vu_pcrexml::composeXmldata(xmldata* parent, const char* subject, int len, int* ovector,
                                int rc) {
  if (rc != kWithBody && rc != kWithoutBody) {
    fail("vu_pcrexml: composeXmldata: Unknown PCRE retcode");
  }
  if (parent == nullptr) fail("vu_pcrexml: Empty XML Data");
  checkSubject(*_pcre, subject, len);
  const Element element = elementOf(subject, ovector, rc);
  xmldata* const node = addNode(parent, subject, element);
  const Span body = element.body;
  if (element.sign == body.end) return;
  subpattern(node, subject + element.sign, body.end - element.sign);
  stoppedAt_ += static_cast<std::size_t>(element.sign);
  node->setContext(subject + body.begin, element.sign - body.begin);
}
