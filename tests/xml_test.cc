// The XML parser, and trees of any shape and depth.

#include "tests/plain/xml.h"

#include <climits>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support.h"
#include "vu/pattern.h"

namespace vu::test {
namespace {

using Tree = std::unique_ptr<xmldata>;

/// The trees stand beside a plain telling in the fuzz target, whose seeds are replayed.
TEST(Xml, TellsWhatItRefusesAndLeavesOut) {
  const std::pair<std::string, std::size_t> rows[] = {
      {"<a x='1' y='2'  ><b/><c /></a> \n", 32},
      {"<?xml version='1.0'?>\n<!-- <no --> <a/>", 39},
      {"text <a/>", 0},
      {"<u><r s='1'/><r s='2'>c", 0},
      {"<a>x<b/>y<c/></a> z", 8},
      {"<ab>x</a>", 9},
      {"<a/><a", 4},
  };
  vu_pcrexml parser;
  for (const auto& [text, stop] : rows) {
    const Tree tree(parser.execute(text, "t"));
    EXPECT_EQ(stop, parser.stoppedAt()) << text;
    EXPECT_EQ(stop == text.size(), parser.usedAll()) << text;
  }
  EXPECT_EQ("vu_pcrexml::execute Empty Context",
            messageOf([&] { Tree tree(parser.execute(nullptr, "")); }));
  for (const char* tag : {"", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ("vu_pcrexml::execute Empty Tag",
              messageOf([&] { Tree tree(parser.execute("x", tag)); }));
  }
  EXPECT_EQ("vu_pcrexml: Empty XML Data", messageOf([&] { parser.subpattern(nullptr, "x", 1); }));
  EXPECT_EQ(0U, parser.stoppedAt() + vu_pcrexml().stoppedAt());
  xmldata root("r", 1, nullptr, 0);
  EXPECT_EQ("vu_pcrexml: No Match", messageOf([&] { parser.subpattern(&root, "x", 0); }));
  EXPECT_EQ("vu_pcrexml: PCRE matching error [-2]",
            messageOf([&] { parser.subpattern(&root, nullptr, 0); }));
  EXPECT_EQ("vu_pcrexml: PCRE matching error [-32]",
            messageOf([&] { parser.subpattern(&root, "x", -1); }));
  int paired[] = {0, 16, 1, 2, 3, 4, 5, 12};
  parser.composeXmldata(&root, "<a b>x<c/>yz</a>", 16, paired, 4);
  EXPECT_EQ(10U, parser.stoppedAt());
  int empty[] = {0, 5, -1, -1, -1, -1, -1, -1, 1, 2, 2, 3};
  root.setContext("own", 3);  // which stays as it is
  parser.subpattern(&root, "<e/>", 4);
  EXPECT_EQ("own", root.text());
  EXPECT_EQ("vu_pcrexml: PCRE matching error [-32]",
            messageOf([&] { parser.composeXmldata(&root, "<d />", -1, empty, 6); }));
  EXPECT_EQ("vu_pcrexml: Empty XML Data",
            messageOf([&] { parser.composeXmldata(nullptr, "<d />", 5, empty, 6); }));
  EXPECT_EQ("vu_pcrexml: composeXmldata: Unknown PCRE retcode",
            messageOf([&] { parser.composeXmldata(nullptr, nullptr, -1, empty, 5); }));
}

/// In a name and among attributes, near the text's end and far from it, where bytes are read many
/// at a time.
TEST(Xml, TellsEveryByteApart) {
  PlainParser plain;
  vu_pcrexml parser;
  for (int c = 0; c < 256; ++c) {
    const char byte = static_cast<char>(c);
    for (const std::string tail :
         {"/>", "/>                ", ">some text of a body</a></abcdefghi>"}) {
      for (const std::string front :
           {"<", "<abcdefghi", "<abcdefghi x='1'", "<a x='some long value' "}) {
        const ExactCopy text(front + byte + tail);
        xmldata root("data", 4, nullptr, 0);
        const int length = static_cast<int>(text.view().size());
        const std::string message =
            messageOf([&] { parser.subpattern(&root, text.view().data(), length); });
        EXPECT_EQ(plain.parse(text.view()), message.empty() ? dump(root) : message) << text.view();
      }
    }
  }
}

/// Texts of megabytes that are hard on a parser: how they end, each within seconds.
TEST(Xml, TakesTimeInProportionToTheText) {
  const auto many = [](const std::string& each, int n) { return repeated(each, n / kLess); };
  const auto nested = [](int depth, const char* inner) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<a" + std::to_string(i) + ">";
    text += inner;
    for (int i = depth; i-- > 0;) text += "</a" + std::to_string(i) + ">";
    return text;
  };
  std::string longNames;
  for (int n = 1; n < 2000; ++n)
    longNames += "</" + std::string(static_cast<std::size_t>(n), 'a') + ">";
  const std::string feed =
      "<feed>" +
      many("<item id='12345'><name>some name</name><link>http://x.y/z</link></item>", 200000) +
      "</feed>";
  const std::string none = "vu_pcrexml: No Match";
  const std::string limit = "vu_pcrexml: PCRE matching error [-8]";
  const struct {
    const char* what;
    std::string text;
    std::string message;
  } rows[] = {
      {"a feed", feed, ""},
      {"nested 300,000 deep", nested(300000 / kLess, "x"), ""},
      {"nested, nothing inside", nested(300000 / kLess, "<"), none},
      {"never closed", many("<a>", 1000000), none},
      {"closed in the wrong order", many("<a><b></a></b>", 300000), none},
      {"closed by shorter names", many("<ab>x</a>", 300000), ""},
      {"a long name closed by a shorter one", "<" + many("a", 3000000) + ">x</a>", ""},
      {"blanks behind a name closed by a shorter one",
       many("<ab" + std::string(500, ' ') + ">" + std::string(500, 'x') + "</a>", 3000), ""},
      {"long names among many that they begin with",
       "<x>" + many("<" + std::string(3000, 'a') + ">", 300) + "</x>" + longNames, limit},
      {"attributes without end", "<a " + many("=", 3000000), none},
      {"beginnings of attributes", many("<a x='", 500000), none},
  };
  vu_pcrexml parser;
  for (const auto& row : rows) {
    const std::clock_t start = std::clock();
    Tree tree;
    EXPECT_EQ(row.message, messageOf([&] { tree.reset(parser.execute(row.text.c_str(), "t")); }))
        << row.what;
    if (row.text.data() == feed.data()) {
      EXPECT_EQ(200000U / kLess, tree->child("feed")->_children.size());
    }
    tree.reset();
    EXPECT_GT(20, (std::clock() - start) / CLOCKS_PER_SEC) << row.what;
  }
}

TEST(XmlTree, Prints) {
  const auto node = [](const char* tag, const char* attrs = "") {
    return std::make_unique<xmldata>(tag, static_cast<int>(std::strlen(tag)), attrs,
                                     static_cast<int>(std::strlen(attrs)));
  };
  const Tree root = node("data");
  auto a = node("a", "x='1'");
  a->setContext("hi", 2);
  root->addData(a.release());
  root->addData(nullptr);
  root->addData(node("b").release());
  EXPECT_EQ(std::vector<const xmldata*>({root->child("a"), root->child("b")}), root->children());
  EXPECT_EQ(std::vector<const xmldata*>({root->child("b")}), root->children("b"));
  const std::string xml = "\n<data>\n  <a x='1'>\n    hi\n  </a>\n  <b/>\n</data>\n";
  const std::string fields =
      "\ntag = [data] attrs = [null] context = [null]\n"
      "  tag = [a] attrs = [x='1'] context = [hi]\n"
      "  tag = [b] attrs = [null] context = [null]\n";
  EXPECT_EQ(fields, dump(*root, 0, -3));
  EXPECT_EQ(xml, dump(*root, 1, INT_MIN));
  EXPECT_EQ("\n      <b/>\n", dump(*root->child("b"), 1, 3));
  EXPECT_EQ("<a x='1'>hi</a><b/>", dump(*root, 2, 7));
  EXPECT_EQ("", dump(*root->child("b"), 2) + dump(*root, 5) + dump(*root, -1));
  std::stringstream out;
  root->child("a")->displayXML(out, 1, 1);
  root->displayXML(out, 1, 2);
  root->child("a")->displayText(out, 1);
  EXPECT_EQ(
      "  <a x='1'>\n    hi\n  </a>\n<data><a x='1'>hi</a><b/></data>"
      "  tag = [a] attrs = [x='1'] context = [hi]\n",
      out.str());
  // One line break that is flushed, then all of it in one piece, whatever the stream is set to.
  struct Flushes : std::stringbuf {
    int sync() override {
      flushed += str() + "|";
      return 0;
    }
    std::string flushed;
  } flushes;
  std::ostream stream(&flushes);
  stream << std::setw(60) << std::setfill('*');
  root->child("b")->display(0, 1, stream);
  EXPECT_EQ("\n|", flushes.flushed);
  EXPECT_EQ("\n<b/>\n", flushes.str());
  // A node with nothing but an empty entry is not an empty element.
  const Tree hollow = node("h");
  hollow->addData(nullptr);
  EXPECT_EQ("\n<h>\n</h>\n", dump(*hollow, 1));
}

TEST(XmlTree, HoldsViews) {
  const std::string zero = "stringLen: Zero string length";
  const std::string null = "stringLen: Zero const char pointer";
  EXPECT_EQ(null, messageOf([] { stringLen(nullptr, 0); }));
  for (const int length : {0, -1}) EXPECT_EQ(zero, messageOf([=] { stringLen("x", length); }));
  EXPECT_EQ(null, messageOf([] { xmldata(nullptr, 1, "", 0); }));
  EXPECT_EQ(zero, messageOf([] { xmldata("x", -1, "", 0); }));
  EXPECT_EQ(zero, messageOf([] { xmldata("x", 1, "y", -1); }));
  const char attrs[] = "a='1'h='2' b = \"2 'c'\"\tc=3 d\n=\n'' e  f='x y=1' =z g a='2'";
  xmldata node("tag", 3, attrs, sizeof attrs - 1);
  EXPECT_EQ(attrs, node._attrs->_str);
  EXPECT_EQ("tag " + std::string(attrs) + " null",
            node.tagString() + " " + node.attrsString() + " " + node.ctextString());
  node.setContext("text", 2);
  EXPECT_EQ(zero, messageOf([&] { node.setContext("text", -1); }));
  EXPECT_EQ("te", node.ctextString());
  node.setContext("text", 0);
  EXPECT_EQ(nullptr, node._context);
  node.setContext(nullptr, 3);
  EXPECT_EQ(nullptr, node._context);
  const struct {
    const char* name;
    bool there;
    std::string value;
  } rows[] = {{"a", true, "1"}, {"b", true, "2 'c'"}, {"c", true, "3"}, {"d", true, ""},
              {"e", true, ""},  {"f", true, "x y=1"}, {"y", false, ""}, {"g", true, ""},
              {"h", true, "2"}, {"z", false, ""},     {"", false, ""},  {nullptr, false, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.there, node.hasAttribute(row.name)) << row.name;
    EXPECT_EQ(row.value, node.attribute(row.name)) << row.name;
  }
  EXPECT_EQ("x", xmldata("t", 1, "a='x", 4).attribute("a"));
  EXPECT_FALSE(xmldata("t", 1, nullptr, 2).hasAttribute("a"));
  node.setContext("null", 4);
  EXPECT_TRUE(node.hasText());
  EXPECT_FALSE(xmldata("t", 1, "", 0).hasText());
  EXPECT_EQ("", xmldata("t", 1, "", 0).text());
  EXPECT_EQ(nullptr, node.child("a"));
  EXPECT_EQ(nullptr, node.child(nullptr));
}

/// Nodes of a parser and of a caller, in each other's trees, deleted in any order and thread.
TEST(XmlTree, GivesItsNodesAway) {
  const std::string text = "<a>" + repeated("<b x='1'>text</b>", 1000) + "</a>";
  Tree parsed(vu_pcrexml().execute(text, "data"));
  Tree others[] = {std::make_unique<xmldata>("even", 4, nullptr, 0),
                   Tree(new (std::nothrow) xmldata("odd", 3, nullptr, 0))};
  std::list<xmldata*>& from = parsed->_children.front()->_children;
  for (std::size_t i = 0; i < 900; ++i) {
    others[i % 2]->addData(from.front());
    from.pop_front();
    if (i % 3 == 0) parsed->addData(new xmldata("own", 3, nullptr, 0));
  }
  delete from.back();
  from.pop_back();
  EXPECT_EQ(99U, from.size());
  EXPECT_EQ(301U, parsed->children().size());
  parsed.reset();
  std::vector<std::thread> threads;
  for (Tree& each : others) {
    threads.emplace_back([&each] {
      EXPECT_EQ(450U * 17U, dump(*each, 2).size());
      each.reset();
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ("stringLen: Zero string length",
            messageOf([] { delete new (std::nothrow) xmldata("x", 0, nullptr, 0); }));
}

/// A chain made by hand, deeper than any stack.
TEST(XmlTree, IsAsDeepAsMemoryAllows) {
  constexpr int kDepth = 1000000;
  auto root = std::make_unique<xmldata>("a", 1, nullptr, 0);
  xmldata* last = root.get();
  for (int i = 0; i < kDepth; ++i) {
    last->addData(new xmldata("a", 1, nullptr, 0));
    last = last->_children.back();
  }
  EXPECT_EQ(kDepth * 7U - 3U, dump(*root, 2).size());
}

}  // namespace
}  // namespace vu::test
