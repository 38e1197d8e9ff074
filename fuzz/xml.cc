// XML fragments against the plain telling; trees whose views lie inside the text, and their
// print-outs.
//
// Input: the fragment.

#include "tests/plain/xml.h"

#include <algorithm>

#include "fuzz/support.h"

namespace vu::fuzz {
namespace {

void checkView(const stringLen* view, std::string_view text) {
  if (view == nullptr) return;
  check(view->_len > 0 && isInside(view->_str, static_cast<std::size_t>(view->_len), text),
        "a view lies inside the text");
}

void checkAttributes(const xmldata& node) {
  const std::string all = node._attrs != nullptr ? node._attrs->getString() : "";
  for (std::size_t from = 0; from < all.size(); from += 3) {
    const std::string name = all.substr(from, all.find_first_of(" =", from) - from);
    const std::string value = node.attribute(name.c_str());
    check(value.empty() || node.hasAttribute(name.c_str()), "what has a value is there");
    check(all.find(value) != std::string::npos, "a value stands in the text");
  }
}

void checkNode(const xmldata& node, std::string_view text) {
  for (const xmldata* child : node._children) {
    checkView(&child->_tag, text);
    checkView(child->_attrs, text);
    checkView(child->_context, text);
    check(node.child(child->tagString().c_str()) != nullptr, "a child is found by its tag");
    checkAttributes(*child);
    checkNode(*child, text);
  }
}

/// The XML of a tree, in both forms, differs by white space only.
void checkPrints(const xmldata& root) {
  const auto squeezed = [](std::string text) {
    text.erase(std::remove_if(text.begin(), text.end(), detail::isSpace), text.end());
    return text;
  };
  std::stringstream compact;
  root.displayXML(compact, 0, 2);
  expectEqual(squeezed(compact.str()), squeezed(test::dump(root, 1)), "indented and in one line");
}

/// The first element, from a match that is made here, is the first that a parser finds.
void composeFirst(vu_pcrexml& parser, const xmldata& root, std::string_view text) {
  static vu_pcre element(test::kElement, 6, -1);
  const int length = static_cast<int>(text.size());
  const int result = element.execute(text.data(), length, 0, 0);
  xmldata alone("data", 4, nullptr, 0);
  parser.composeXmldata(&alone, text.data(), length, element.results(), result);
  expectEqual(test::dump(*root._children.front()), test::dump(*alone._children.front()),
              "the first element");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::string text = input.rest();
  static vu_pcrexml parser;
  static test::PlainParser plain;

  if (!text.empty()) {
    const test::ExactCopy copy(text);
    xmldata root("data", 4, nullptr, 0);
    const std::string message = test::messageOf(
        [&] { parser.subpattern(&root, copy.view().data(), static_cast<int>(text.size())); });
    expectEqual(plain.parse(text), message.empty() ? test::dump(root) : message, "a view");
    checkNode(root, copy.view());
    if (message.empty()) {
      checkPrints(root);
      composeFirst(parser, root, copy.view());
    }
  }
  // The same as a text that ends at its NUL.
  const std::string cut = test::upToNul(text);
  std::unique_ptr<xmldata> root;
  const std::string message =
      test::messageOf([&] { root.reset(parser.execute(cut.c_str(), "data")); });
  expectEqual(cut.empty() ? "vu_pcrexml::execute Empty Context" : plain.parse(cut),
              root != nullptr ? test::dump(*root) : message, "a text");
  return 0;
}

}  // namespace vu::fuzz
