// The tree of XML elements. Nothing here recurses with its depth: it may be as deep as memory
// allows.

#include <cstring>
#include <new>
#include <optional>
#include <sstream>
#include <string_view>
#include <vector>

#include "pattern/node_memory.h"
#include "vu/pattern.h"

namespace {

std::string_view view(const stringLen& piece) {
  return {piece._str, static_cast<std::size_t>(piece._len)};
}

std::string stringOrNull(const stringLen* piece) {
  return piece != nullptr ? piece->getString() : "null";
}

// -----------------------------------------------------------------------------------------------
// Attributes

struct Attribute {
  std::string_view name;
  std::string_view value;
};

void skipBlanks(std::string_view& text) {
  while (!text.empty() && vu::detail::isSpace(text.front())) text.remove_prefix(1);
}

/// Cuts off what stands in front of the first of `stops`, or of white space where that stops, too.
std::string_view cutAt(std::string_view& text, std::string_view stops, bool atBlank) {
  std::size_t n = 0;
  while (n < text.size() && stops.find(text[n]) == std::string_view::npos &&
         !(atBlank && vu::detail::isSpace(text[n]))) {
    ++n;
  }
  const std::string_view piece = text.substr(0, n);
  text.remove_prefix(n);
  return piece;
}

std::string_view takeValue(std::string_view& text) {
  if (text.empty() || (text.front() != '\'' && text.front() != '"')) return cutAt(text, "", true);
  const std::string_view quote = text.substr(0, 1);
  text.remove_prefix(1);
  const std::string_view value = cutAt(text, quote, false);
  if (!text.empty()) text.remove_prefix(1);
  return value;
}

/// Takes the next attribute off `text`; false at its end.
bool takeAttribute(std::string_view& text, Attribute& attribute) {
  skipBlanks(text);
  if (text.empty()) return false;
  attribute = {cutAt(text, "=", true), {}};
  skipBlanks(text);
  if (!text.empty() && text.front() == '=') {
    text.remove_prefix(1);
    skipBlanks(text);
    attribute.value = takeValue(text);
  }
  return true;
}

std::optional<std::string_view> findAttribute(const xmldata& node, const char* name) {
  if (name == nullptr || node._attrs == nullptr) return std::nullopt;
  std::string_view text = view(*node._attrs);
  for (Attribute attribute; takeAttribute(text, attribute);) {
    if (attribute.name == name && !attribute.name.empty()) return attribute.value;
  }
  return std::nullopt;
}

// -----------------------------------------------------------------------------------------------
// Printing

std::size_t levelOf(int depth) { return depth > 0 ? static_cast<std::size_t>(depth) : 0; }

/// A node whose children are being printed.
struct Open {
  const xmldata* node;
  std::list<xmldata*>::const_iterator next;
};

/// Calls `begin` for every node below and including `root` in the order of the text, with its
/// level, and `end` once those below it are done; for nodes for which `begin` says that they are.
template <typename Begin, typename End>
void walk(const xmldata& root, std::size_t level, Begin begin, End end) {
  std::vector<Open> open;
  if (begin(root, level)) open.push_back({&root, root._children.begin()});
  while (!open.empty()) {
    Open& top = open.back();
    if (top.next == top.node->_children.end()) {
      end(*top.node, level + open.size() - 1);
      open.pop_back();
      continue;
    }
    const xmldata* const child = *top.next++;
    if (child != nullptr && begin(*child, level + open.size())) {
      open.push_back({child, child->_children.begin()});
    }
  }
}

void appendDump(std::string& out, const xmldata& root, std::size_t level) {
  const auto begin = [&out](const xmldata& node, std::size_t depth) {
    const auto field = [&out](const char* title, const stringLen* piece) {
      out.append(title).append("[").append(piece != nullptr ? view(*piece) : "null").append("]");
    };
    out.append(2 * depth, ' ');
    field("tag = ", &node._tag);
    field(" attrs = ", node._attrs);
    field(" context = ", node._context);
    out += '\n';
    return true;
  };
  walk(root, level, begin, [](const xmldata&, std::size_t) {});
}

void appendXml(std::string& out, const xmldata& root, std::size_t level, bool indented) {
  const char* const lineEnd = indented ? "\n" : "";
  const auto indent = [&out, indented](std::size_t depth) {
    out.append(indented ? 2 * depth : 0, ' ');
  };
  const auto begin = [&](const xmldata& node, std::size_t depth) {
    indent(depth);
    out.append("<").append(view(node._tag));
    if (node._attrs != nullptr) out.append(" ").append(view(*node._attrs));
    const bool isEmpty = node._context == nullptr && node._children.empty();
    out.append(isEmpty ? "/>" : ">").append(lineEnd);
    if (node._context != nullptr) {
      indent(depth + 1);
      out.append(view(*node._context)).append(lineEnd);
    }
    return !isEmpty;
  };
  const auto end = [&](const xmldata& node, std::size_t depth) {
    indent(depth);
    out.append("</").append(view(node._tag)).append(">").append(lineEnd);
  };
  walk(root, level, begin, end);
}

void write(std::ostream& os, const std::string& text) {
  os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace

stringLen::stringLen(const char* str, int len) : _str(str), _len(len) {
  if (str == nullptr) throw vu_exception(vu_failure::xml, "stringLen: Zero const char pointer");
  if (len <= 0) throw vu_exception(vu_failure::xml, "stringLen: Zero string length");
}

std::string stringLen::getString() const { return std::string(view(*this)); }

xmldata::xmldata(const char* tag, int tagLen, const char* attrs, int attrsLen) : _tag(tag, tagLen) {
  if (attrs != nullptr && attrsLen != 0) _attrs = ::new (&ownAttrs_) stringLen(attrs, attrsLen);
}

xmldata::~xmldata() {
  if (_children.empty()) return;
  // Every node gives its children up before it goes.
  vu::detail::NodeRemains remains;
  do {
    xmldata* const node = _children.front();
    _children.pop_front();
    if (node == nullptr) continue;
    _children.splice(_children.begin(), node->_children);
    node->~xmldata();
    remains.add(node);
  } while (!_children.empty());
}

void xmldata::addData(xmldata* child) { _children.push_back(child); }

void xmldata::setContext(const char* text, int len) {
  if (text != nullptr && len != 0) {
    const stringLen piece(text, len);  // may be refused
    _context = ::new (&ownContext_) stringLen(piece);
  } else {
    _context = nullptr;
  }
}

const xmldata* xmldata::child(const char* tag) const {
  if (tag == nullptr) return nullptr;
  for (const xmldata* each : _children) {
    if (each != nullptr && view(each->_tag) == tag) return each;
  }
  return nullptr;
}

std::vector<const xmldata*> xmldata::children(const char* tag) const {
  std::vector<const xmldata*> found;
  for (const xmldata* each : _children) {
    if (each != nullptr && (tag == nullptr || view(each->_tag) == tag)) found.push_back(each);
  }
  return found;
}

std::string xmldata::attribute(const char* name) const {
  return std::string(findAttribute(*this, name).value_or(std::string_view()));
}

bool xmldata::hasAttribute(const char* name) const {
  return findAttribute(*this, name).has_value();
}

std::string xmldata::tagString() const { return _tag.getString(); }
std::string xmldata::attrsString() const { return stringOrNull(_attrs); }
std::string xmldata::ctextString() const { return stringOrNull(_context); }
std::string xmldata::text() const { return hasText() ? _context->getString() : ""; }

void xmldata::display(int depth, int mode, std::ostream& os) const {
  std::string out;
  if (mode == 0) appendDump(out, *this, levelOf(depth));
  if (mode == 1) appendXml(out, *this, levelOf(depth), true);
  if (mode == 2) {
    for (const xmldata* each : _children) {
      if (each != nullptr) appendXml(out, *each, levelOf(depth) + 1, false);
    }
  }
  if (mode == 0 || mode == 1) os << std::endl;
  write(os, out);
}

void xmldata::displayText(std::stringstream& out, int depth) const {
  std::string text;
  appendDump(text, *this, levelOf(depth));
  write(out, text);
}

void xmldata::displayXML(std::stringstream& out, int depth, int mode) const {
  std::string text;
  appendXml(text, *this, levelOf(depth), mode == 1);
  write(out, text);
}
