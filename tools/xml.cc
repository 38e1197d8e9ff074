// vu xml: the tree of a fragment.

#include <memory>
#include <sstream>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/input.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/summary.h"
#include "vu/pattern.h"

namespace vu::tool {
namespace {

enum class TreeFormat { tree, xml, compact };

const Words<TreeFormat> kTreeFormats = {
    {"tree", TreeFormat::tree}, {"xml", TreeFormat::xml}, {"compact", TreeFormat::compact}};

struct XmlOptions {
  std::string file = "-";
  std::string root = "root";
  TreeFormat format = TreeFormat::tree;
};

std::unique_ptr<const xmldata> parse(vu_pcrexml& parser, const std::string& text,
                                     const XmlOptions& options) {
  try {
    return std::unique_ptr<const xmldata>(parser.execute(text.c_str(), options.root.c_str()));
  } catch (const vu_exception& failure) {
    const std::string what = failure.what();
    if (what != "vu_pcrexml: No Match") throw Refusal(what);
    throw Refusal("no element in " + displayName(options.file) +
                  ", or behind a \"<\" inside an element; vu-xml(1) tells what an element is");
  }
}

/// Tells a person who has a blank between two elements what becomes of the second.
void noteRest(const vu_pcrexml& parser) {
  if (parser.usedAll()) return;
  say("note: not all is read, from byte " + grouped(parser.stoppedAt()) +
      " on: siblings stand directly behind one another");
}

constexpr std::size_t kDeepest = 5000;

/// Throws Refusal for a tree that takes too many blanks to indent.
void checkDepth(const xmldata& root) {
  std::vector<const xmldata*> level = {&root};
  for (std::size_t depth = 0; !level.empty(); ++depth) {
    if (depth > kDeepest) {
      throw Refusal(
          "nested more than 5000 deep, which is too much to indent; try --format compact");
    }
    std::vector<const xmldata*> below;
    for (const xmldata* node : level)
      below.insert(below.end(), node->_children.begin(), node->_children.end());
    level.swap(below);
  }
}

void run(const XmlOptions& options) {
  const std::string text = readFile(options.file);
  if (text.empty()) {
    throw Refusal(displayName(options.file) + " is empty; a fragment has one element or more");
  }
  if (text.find('\0') != std::string::npos) {
    throw Refusal(displayName(options.file) + " has a NUL byte in it, which ends an XML text");
  }
  vu_pcrexml parser;
  const std::unique_ptr<const xmldata> tree = parse(parser, text, options);
  if (options.format != TreeFormat::compact) checkDepth(*tree);
  noteRest(parser);
  std::stringstream out;
  switch (options.format) {
    case TreeFormat::tree:
      tree->displayText(out, 0);
      break;
    case TreeFormat::xml:
      tree->displayXML(out, 0, 1);
      break;
    case TreeFormat::compact:
      tree->display(0, 2, out);
      out << '\n';
      break;
  }
  writeOut(out.str());
}

}  // namespace

void addXml(CLI::App& app) {
  auto options = std::make_shared<XmlOptions>();
  CLI::App* command = app.add_subcommand("xml", "Print the tree of an XML fragment");
  command->add_option("FILE", options->file, "The fragment; - or nothing is standard input")
      ->check(isNotEmpty);
  addChoice(*command, "--format", options->format, kTreeFormats,
            "The fields of each element, indented XML, or the\nelements found in one line "
            "(default: tree)");
  command->add_option("--root", options->root, "Name of the root that tree and xml show (root)")
      ->option_text("NAME")
      ->check(isNotEmpty);
  command->footer(
      "Elements are found as vu-xml(1) tells: names of letters, digits and \"_\", attributes in\n"
      "single quotes, siblings directly behind one another. Anything else ends its level.\n"
      "Exit status: 0 done, 1 no element was found or the input could not be read, 2 wrong usage.");
  command->callback([options] { run(*options); });
}

}  // namespace vu::tool
