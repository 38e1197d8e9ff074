// XML fragments, beside two parsers that make a tree as well. Making and freeing the tree is one
// job.

#include <tinyxml2.h>

#include <iterator>
#include <map>
#include <memory>
#include <utility>

#include <pugixml.hpp>

#include "bench/support.h"
#include "vu/pattern.h"

namespace vu::bench {
namespace {

/// A feed of `items` entries of about 120 bytes, in what all three parsers read.
std::string makeFeed(std::int64_t items) {
  std::string text = "<feed>";
  for (std::int64_t i = 0; i < items; ++i) {
    const std::string number = std::to_string(i);
    text.append("<item id='").append(number).append("' kind='url'><host>www").append(number);
    text.append(".example.com</host><score>").append(std::to_string(i % 101));
    text.append("</score><seen at='noon'>2026-11-23</seen><fresh/></item>");
  }
  return text + "</feed>";
}

/// `depth` elements, each in the one before, with a text in the innermost; as many chains as make
/// about 256 KiB together.
std::string makeChains(std::int64_t depth) {
  std::string open;
  std::string close;
  for (std::int64_t i = 0; i < depth; ++i) {
    const std::string tag = "level" + std::to_string(i);
    open += '<' + tag + '>';
    close.insert(0, "</" + tag + '>');
  }
  const std::string chain = open + "x" + close;
  std::string text = "<feed>";
  while (text.size() < (std::size_t{1} << 18)) text += chain;
  return text + "</feed>";
}

/// Opening tags that nothing closes: the text of somebody who wants a parser to look again and
/// again for their ends.
const std::string& hostile() {
  static const std::string text = [] {
    std::string made;
    for (int i = 0; i < 20000; ++i) made += "<a" + std::to_string(i % 1000) + '>';
    return made;
  }();
  return text;
}

/// Keeps what `make` has made of a size, as each benchmark is called many times.
const std::string& made(std::int64_t size, std::string (*make)(std::int64_t)) {
  static std::map<std::pair<std::int64_t, std::string (*)(std::int64_t)>, std::string> kept;
  std::string& text = kept[{size, make}];
  if (text.empty()) text = make(size);
  return text;
}

// The parsers, and what their trees are checked by.

struct Ours {
  std::unique_ptr<xmldata> root;

  bool parse(const std::string& text) {
    static vu_pcrexml parser;
    try {
      root.reset(parser.execute(text.c_str(), "root"));
    } catch (const vu_exception&) {
      return false;
    }
    return true;
  }
  std::size_t children() const { return root->_children.front()->_children.size(); }
  std::string lastScore() const {
    return root->_children.front()->_children.back()->child("score")->ctextString();
  }
};

struct TinyXml {
  tinyxml2::XMLDocument document;

  bool parse(const std::string& text) {
    return document.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
  }
  std::size_t children() const {
    std::size_t count = 0;
    for (const auto* each = document.RootElement()->FirstChild(); each != nullptr;
         each = each->NextSibling()) {
      ++count;
    }
    return count;
  }
  std::string lastScore() const {
    return document.RootElement()->LastChildElement()->FirstChildElement("score")->GetText();
  }
};

struct PugiXml {
  pugi::xml_document document;

  bool parse(const std::string& text) {
    return static_cast<bool>(document.load_buffer(text.data(), text.size()));
  }
  std::size_t children() const {
    const auto all = document.first_child().children();
    return static_cast<std::size_t>(std::distance(all.begin(), all.end()));
  }
  std::string lastScore() const { return document.first_child().last_child().child_value("score"); }
};

template <typename Parser>
void measureParse(benchmark::State& state, const std::string& text, std::int64_t items) {
  measureCall(
      state,
      [&] {
        Parser parser;
        return parser.parse(text);
      },
      items);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <typename Parser>
void parseFeed(benchmark::State& state) {
  const std::string& text = made(state.range(0), makeFeed);
  Parser parser;
  require(parser.parse(text) && parser.children() == static_cast<std::size_t>(state.range(0)) &&
              parser.lastScore() == std::to_string((state.range(0) - 1) % 101),
          "the feed is not read as it is");
  measureParse<Parser>(state, text, state.range(0));
}

template <typename Parser>
void parseChains(benchmark::State& state) {
  const std::string& text = made(state.range(0), makeChains);
  Parser parser;
  require(parser.parse(text) && parser.children() > 1, "the chains are not read as they are");
  measureParse<Parser>(state, text, 1);
}

template <typename Parser>
void refuse(benchmark::State& state) {
  Parser parser;
  require(!parser.parse(hostile()), "elements without end are accepted");
  measureParse<Parser>(state, hostile(), 1);
}

template <typename Parser>
void addParser(const std::string& who, std::int64_t deepest) {
  auto* const sizes = add("pattern/xml/" + who, parseFeed<Parser>);
  for (const std::int64_t items : {20, 200, 2000, 20000, 200000}) {
    if (items == inputs().atMost(items, 2000)) sizes->Arg(items);
  }
  auto* const depths = add("pattern/xml-depth/" + who, parseChains<Parser>);
  for (const std::int64_t depth : {1, 4, 16, 64, 256, 1024, 4096}) {
    if (depth <= deepest) depths->Arg(depth);
  }
  add("pattern/xml-hostile/" + who, refuse<Parser>);
}

}  // namespace

void registerXml() {
  addParser<Ours>("vu", 4096);
  addParser<TinyXml>("tinyxml2", TINYXML2_MAX_ELEMENT_DEPTH - 2);
  addParser<PugiXml>("pugixml", 4096);
}

}  // namespace vu::bench
