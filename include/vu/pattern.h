// Matching text: a compiled regular expression with the offsets of its last match.
//
//   vu_pcre pair("(\\w+)=(\\w*)", 3, -1);               // the whole match and two groups
//   const char* text = "colour=blue";
//   if (pair.execute(text, 11, 0, 0) > 0) {
//     std::string name = pair.getResultStr(1, text);    // "colour"
//     int length = 0;
//     const char* value = pair.getResult(2, text, length);  // "blue", 4 bytes inside `text`
//   }
//
// Threads:  `execute` and the readers of its result belong to one thread at a time. `match` is
//           const and keeps nothing: any number of threads may call it on one object at once.
// Errors:   vu_exception with the texts given below. No match, and what PCRE itself reports, are
//           results.
// Lifetime: nothing is copied: results point into the caller's subject. An object owns its compiled
//           pattern and is not copied.
// Limits:   a hostile subject ends in a negative code, not in a crash: see `match`. On a stack that
//           the program has switched to by itself, such as a fiber's, 16 KiB must be free to
//           search, 64 KiB to compile.
// Engine:   the library is built with PCRE 8 or with PCRE2. Options, results and vectors are those
//           of PCRE 8 with either: what is here needs no header of theirs. docs/patterns.md tells
//           where the two differ.
//
// On top of it stand name/value pairs and XML fragments:
//
//   NvalPcre pairs("(\\w+)=(\\w*)");
//   std::list<std::pair<CharSizet_t, CharSizet_t>> found;
//   insertNV2List(found, pairs, "a=1 b=22");            // ("a", "1"), ("b", "22")
//
//   const std::string text = "<user id='7'><name>Ann</name></user>";
//   vu_pcrexml parser;
//   const std::unique_ptr<xmldata> root(parser.execute(text.c_str(), "data"));
//   for (const xmldata* user : root->children("user")) {
//     for (const xmldata* name : user->children("name")) std::cout << name->text();  // "Ann"
//   }

#ifndef VU_PATTERN_H_
#define VU_PATTERN_H_

#include <cstddef>
#include <iosfwd>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vu/export.h"
#include "vu/foundation.h"

namespace vu::detail {

struct Regex;
struct Study;

struct EngineDelete {
  void operator()(Regex* regex) const noexcept;
  void operator()(Study* study) const noexcept;
};

}  // namespace vu::detail

// ---------------------------------------------------------------------------------------------
// Regular expressions

/// A compiled pattern in the syntax of PCRE (bytes, not characters) with the offsets of its last
/// match.
class VU_EXPORT vu_pcre {
 public:
  /// Options, to be joined by "|"; the first group is for compiling, the second for searching, the
  /// third for both. Others of PCRE 8 are known as well, by its numbers.
  enum Option : int {
    caseless = 0x1,
    multiline = 0x2,  ///< "^" and "$" at line ends, too.
    dotAll = 0x4,     ///< "." matches a line end.
    extended = 0x8,   ///< Blanks and comments in the pattern mean nothing.
    dollarEndOnly = 0x20,
    extra = 0x40,  ///< Refuses escapes without a meaning, which stand for themselves otherwise.
    ungreedy = 0x200,
    utf8 = 0x800,
    noAutoCapture = 0x1000,
    firstLine = 0x40000,
    duplicateNames = 0x80000,
    unicodeProperties = 0x20000000,

    notBol = 0x80,
    notEol = 0x100,
    notEmpty = 0x400,
    partialSoft = 0x8000,
    partialHard = 0x8000000,
    notEmptyAtStart = 0x10000000,

    anchored = 0x10,
    noUtf8Check = 0x2000  ///< The caller answers for the encoding.
  };

  /// Negative results of a search.
  enum Result : int {
    noMatch = -1,
    nullSubject = -2,
    badOption = -3,  ///< One that the engine does not know.
    noMemory = -6,
    stepLimit = -8,
    badUtf8 = -10,
    badUtf8Offset = -11,  ///< The search would begin inside a character.
    partialMatch = -12,
    badCount = -15,    ///< A vector of negative size.
    depthLimit = -21,  ///< No room to go back so often.
    badOffset = -24,
    badLength = -32
  };

  /// Compiles and studies `pattern`, a NUL-terminated text that is not copied.
  /// `pairs`: how many pairs of offsets a match may report, the whole match included. With 0 every
  /// match throws; a negative or absurd number is the allocation's own exception.
  /// `options`: compile options; a negative value means `dotAll`.
  ///
  /// Throws vu_exception (no object exists then, and nothing is held):
  ///   "vu_pcre: Empty Regular Expression"                              for a null pattern;
  ///   "PCRE Compile Error [" + offset + "] " + the engine's own text   when it does not compile
  ///       or the engine does not know an option;
  ///   "PCRE Compile Error [0] not enough stack"   when the thread has too little left for it:
  ///       32 KiB do for some groups with PCRE 8, 64 KiB with PCRE2, 4 MiB for all that compiles;
  ///   "PCRE Compile Study Error " + the engine's own text              when it cannot be studied.
  /// Each thread that makes a pattern or searches gets some 70 KiB for its searches, kept to its
  /// end; the first one to do so on it asks the system for the bounds of its stack. So make a
  /// pattern before /proc is out of reach.
  vu_pcre(const char* pattern, int pairs, int options);
  vu_pcre(const vu_pcre&) = delete;
  vu_pcre& operator=(const vu_pcre&) = delete;
  virtual ~vu_pcre();

  /// The engine that the library was built with and its release, "PCRE 8.39" or "PCRE2 10.42".
  static std::string engine();

  /// Searches `length` bytes at `subject`, from byte `startOffset` on, and keeps the offsets of the
  /// match for the readers below.
  /// The result is the number of the highest group that took part plus one, or a negative one of
  /// those above or of PCRE 8. After those the offsets mean nothing.
  ///
  /// Throws vu_exception "PCRE Output vector too small" when the match has more groups than the
  /// object has pairs for; it stays usable, with the pairs that fitted.
  virtual int execute(const char* subject, int length, int startOffset, int options);

  /// The bytes that pair `index` of the last match covers: pair 0 is the whole match, pair i group
  /// i. Null, with `length` as it was, when it is empty or took no part.
  ///
  /// Throws vu_exception "vu_pcre::getResult : Index out of range : 1 - " + pair count.
  const char* getResult(int index, const char* subject, int& length) const;

  /// The same as a string of its own.
  ///
  /// Throws as `getResult`, and "vu_pcre::getResult : Empty result for index " + index where that
  /// returns null.
  std::string getResultStr(int index, const char* subject) const;

  /// PCRE's vector of offsets from the last `execute`: start and end of pair i at 2i and 2i + 1, -1
  /// for a group that took no part, 0 before the first call. The last third is working space.
  int* results() { return ovector_.get(); }
  /// The same, to be read only.
  const int* results() const { return ovector_.get(); }

  /// One past the end of the last match: where a scan goes on. Needs at least one pair.
  int getContextOffset() const { return ovector_[1]; }

  /// The search of `execute` without any state: offsets go to `ovector`, the caller's vector of
  /// `ovecsize` entries, three a pair. The result is that of `execute`, and 0 when the vector is
  /// too small.
  ///
  /// Results are those of the engine's interpreter. Its just-in-time code, several times as fast,
  /// runs first where the machine has it; with PCRE 8 only for patterns that it is known to treat
  /// alike: no references to groups, look-aheads, atomic or possessive groups, conditions,
  /// recursion or verbs. What it gives up is done again by the interpreter, which may take as many
  /// matching steps at each starting position as the engine was built for, usually ten million
  /// (`stepLimit` beyond), and keeps what it may go back to (`depthLimit` beyond) on half of what
  /// is left of its thread's stack, 4 MiB at the most, with PCRE 8, and in 4 MiB of memory, kept by
  /// the thread, with PCRE2.
  [[nodiscard]] int match(const char* subject, int length, int startOffset, int options,
                          int* ovector, int ovecsize) const;

 private:
  std::unique_ptr<vu::detail::Regex, vu::detail::EngineDelete> regex_;
  std::unique_ptr<vu::detail::Study, vu::detail::EngineDelete> extra_;
  const char* pattern_;
  int ovecsize_;
  std::unique_ptr<int[]> ovector_;
};

// ---------------------------------------------------------------------------------------------
// Name/value pairs

/// A piece of a scanned text, which must outlive it; null and 0 when it is empty.
struct CharSizet_t {
  const char* data;   ///< The piece's first byte; not followed by a NUL.
  unsigned int size;  ///< Its length in bytes.

  /// Keeps both as they are.
  CharSizet_t(const char* text, unsigned int length) : data(text), size(length) {}

  /// The same as a view.
  std::string_view view() const { return {data, size}; }
};

/// A pattern for pairs: group 1 is the name, group 2 the value. Arguments and errors as `vu_pcre`;
/// with `pairs` of less than 3 a match that sets both groups throws.
class VU_EXPORT NvalPcre : public vu_pcre {
 public:
  /// Compiles `pattern`, as `vu_pcre` does.
  explicit NvalPcre(const char* pattern, int pairs = 3, int options = -1);
  ~NvalPcre() override;
};

/// Appends every pair that `regex` finds in `length` bytes at `text` (0: up to its NUL) to `list`,
/// as views into the text, and returns how many entries the list then holds; 0, with the list as it
/// was, for a null `text`. A match whose highest group is not the second appends nothing. Each
/// search begins where the last match ended, and a byte further when that was empty and ended where
/// its own search had begun.
///
/// Throws vu_exception "stingTinsert : PCRE error " + result for any other result of `execute` than
/// a match or -1, -32 standing for a `length` beyond an int; and what `execute` and `getResult`
/// throw. The pairs found until then stay in the list.
VU_EXPORT unsigned int insertNV2List(std::list<std::pair<CharSizet_t, CharSizet_t>>& list,
                                     NvalPcre& regex, const char* text, unsigned int length);

/// The same for a view, which need not end in a NUL: an empty one has no pairs.
VU_EXPORT unsigned int insertNV2List(std::list<std::pair<CharSizet_t, CharSizet_t>>& list,
                                     NvalPcre& regex, std::string_view text);

/// The value of the first pair in `list` with this name, or null when there is none.
VU_EXPORT const CharSizet_t* findValue(const std::list<std::pair<CharSizet_t, CharSizet_t>>& list,
                                       std::string_view name) noexcept;

// ---------------------------------------------------------------------------------------------
// XML fragments

/// A piece of a text, which must outlive it; never empty.
struct VU_EXPORT stringLen {
  const char* _str;  ///< The piece's first byte; not followed by a NUL.
  int _len;          ///< Its length in bytes, at least 1.

  /// Throws vu_exception "stringLen: Zero const char pointer" for a null `str`, "stringLen: Zero
  /// string length" for a `len` of 0 or less.
  stringLen(const char* str, int len);

  /// A copy of the piece.
  std::string getString() const;
};

/// An element: views of its tag, attributes and text, and its children, which it owns.
///
/// Threads:  any number may read a tree that nobody changes.
/// Lifetime: the text that the views point into must outlive the tree. Deleting a node frees all
///           below it; that, and printing, needs no more stack for a deep tree than for a flat one.
class VU_EXPORT xmldata {
 public:
  /// A node without text and children; without attributes, too, when `attrs` is null or its length
  /// 0. Throws what `stringLen` throws for `tag`, and for a negative length of `attrs`.
  xmldata(const char* tag, int tagLen, const char* attrs, int attrsLen);
  xmldata(const xmldata&) = delete;
  xmldata& operator=(const xmldata&) = delete;
  ~xmldata();

  /// Memory for a node that a caller makes; for `delete` it does not matter whose node it is. A
  /// parser's nodes share memory, up to 25 KiB of it, that goes with the last of those in it.
  static void* operator new(std::size_t size);
  /// The same; null when there is none.
  static void* operator new(std::size_t size, const std::nothrow_t& nothrow) noexcept;
  /// A node at a place of the caller's, which is destroyed there and never deleted.
  static void* operator new(std::size_t /*size*/, void* place) noexcept { return place; }
  /// Gives back the memory of any node, from any thread.
  static void operator delete(void* node) noexcept;
  /// For a constructor that throws.
  static void operator delete(void* node, const std::nothrow_t& nothrow) noexcept;
  /// For a constructor that throws.
  static void operator delete(void* /*node*/, void* /*place*/) noexcept {}

  /// Appends a child, which the node owns from then on; null stands for nothing and is skipped by
  /// every walk. When memory runs out the child stays the caller's.
  void addData(xmldata* child);

  /// Sets the text to `len` bytes at `text`; a null `text` or a `len` of 0 takes it away. Throws
  /// what `stringLen` throws for a negative `len`, with the text as it was.
  void setContext(const char* text, int len);

  /// The first child with this tag, or null.
  const xmldata* child(const char* tag) const;
  /// The children with this tag, all of them for a null `tag`, in the order of the text; none of
  /// the pointers is null. They are good until the tree is changed.
  std::vector<const xmldata*> children(const char* tag = nullptr) const;
  /// The value of an attribute without its quotes, single or double; up to the next blank when it
  /// has none. "" when there is no such attribute, and for one without a value. Of an attribute
  /// that is given twice the first counts.
  std::string attribute(const char* name) const;
  /// Whether there is an attribute of this name, with or without a value.
  bool hasAttribute(const char* name) const;

  /// A copy of the tag.
  std::string tagString() const;
  /// The attributes as they stand in the text; "null" when there are none.
  std::string attrsString() const;
  /// The text; "null" when there is none, which a text may say as well: see `hasText`.
  std::string ctextString() const;
  /// The text; "" when there is none.
  std::string text() const;
  /// Whether there is a text. It is never empty.
  bool hasText() const { return _context != nullptr; }

  /// Prints to `os`, in one piece: with mode 0 a line for each node of this tree, more where
  /// its fields have line breaks; with mode 1 the tree as indented XML; with mode 2 the children,
  /// not the node itself, as XML without line breaks; otherwise nothing. Modes 0 and 1 begin with
  /// std::endl. A node at depth d is indented by 2 d blanks; a negative depth is 0. Nothing is
  /// escaped.
  void display(int depth, int mode, std::ostream& os) const;
  /// What `display` prints with mode 0, but for the line break in front.
  void displayText(std::stringstream& out, int depth) const;
  /// This tree as XML, indented with mode 1, in one line with any other.
  void displayXML(std::stringstream& out, int depth, int mode) const;

  stringLen _tag;                 ///< The element's name.
  stringLen* _attrs = nullptr;    ///< Null when there are none. Points into the node: leave it.
  stringLen* _context = nullptr;  ///< The text; null when there is none. Points into the node:
                                  ///< change it by setContext only.
  std::list<xmldata*> _children;  ///< In the order of the text. Owned by the node.

 private:
  union {
    stringLen ownAttrs_;  ///< Where _attrs points to, unless it is null.
  };
  union {
    stringLen ownContext_;  ///< The same of _context.
  };
};

/// Parses fragments of XML by one regular expression for an element:
///
///   <(\w+)\s*([-'\w\s=]*?)>(.*?)</\1>|<(\w+)\s*([-'\w\s=]*?)/>
///
/// The first element of a level may stand anywhere, each further one directly behind the one
/// before; the level ends, without an error, where no element begins: ask `usedAll` whether
/// anything was left out. The text of an element is what stands in front of its first child. What
/// that means for real XML, and what to use instead, is told in docs/xml.md.
///
/// Threads:  a parser serves one thread at a time; trees are independent of it.
/// Lifetime: trees point into the text, and the root into its tag.
/// Cost:     time and memory in proportion to the text, whatever stands in it and however deep it
///           is nested (times the logarithm of the number of different tags, at the most): elements
///           are found by a direct scan, with the expression's results. On a machine of 2020 that
///           is about 2 ns a byte of ordinary texts, up to fifty times as much of texts that nest
///           deep or consist of short tags only. Whoever bounds the length of a text bounds both:
///           1 MiB of the worst takes 100 ms.
class VU_EXPORT vu_pcrexml {
 public:
  /// Throws what `vu_pcre` throws.
  vu_pcrexml();
  vu_pcrexml(const vu_pcrexml&) = delete;
  vu_pcrexml& operator=(const vu_pcrexml&) = delete;
  ~vu_pcrexml();

  /// Parses a NUL-terminated `text`. Returns a new node with the tag `tag`, NUL-terminated, no
  /// attributes and no text, whose children are the elements of the text; the caller deletes it.
  ///
  /// Throws vu_exception, and leaves no tree behind:
  ///   "vu_pcrexml::execute Empty Context"    for a null or empty `text`;
  ///   "vu_pcrexml::execute Empty Tag"        for a null or empty `tag`;
  ///   "vu_pcrexml: Invalid length [" + n + "]"   for a text or tag of 2 GiB or more;
  ///   "vu_pcrexml: No Match"                 when there is no element in the text, or in what
  ///       begins with a "<" inside an element;
  ///   "vu_pcrexml: PCRE matching error [-8]"   when elements that are not closed by their own
  ///       names begin with so many closed ones that a million comparisons of a byte, and 16 more
  ///       for each byte of the text, do not tell which.
  [[nodiscard]] xmldata* execute(const char* text, const char* tag);
  /// The same for a text that need not end in a NUL, such as deciphered bytes; a NUL in it is a
  /// byte like any other.
  [[nodiscard]] xmldata* execute(std::string_view text, const char* tag);

  /// The same for `len` bytes at `subject`, whose elements become children of `parent`. Throws as
  /// above, "vu_pcrexml: Empty XML Data" for a null `parent`, and PCRE's own code, -2 or -32, for a
  /// null `subject` or a negative `len`; what was found until then stays in `parent`.
  void subpattern(xmldata* parent, const char* subject, int len);

  /// Appends the element of one match of the expression in `subject` to `parent`, with all below
  /// it. `ovector` and `rc` are what PCRE gave. Throws "vu_pcrexml: composeXmldata: Unknown PCRE
  /// retcode" for an `rc` other than 4 (an element with a body) and 6 (an empty one), else as
  /// `subpattern`.
  void composeXmldata(xmldata* parent, const char* subject, int len, int* ovector, int rc);

  /// Whether the last `execute` or `subpattern` has put all of its text into the tree, at every
  /// level; blanks behind a level's last element do not matter, nor do blanks, comments and
  /// declarations "<?...?>" in front of the first element of all. False also when it has thrown.
  bool usedAll() const { return usedAll_; }
  /// Where in that text something was left out first: the end of the element behind which its level
  /// stopped, or what was skipped in front of a level's first element. The text's length when
  /// nothing was, 0 when the call has thrown.
  std::size_t stoppedAt() const { return stoppedAt_; }

 private:
  // The expression, whose results the scan gives; asked itself for what is no text at all.
  std::unique_ptr<vu_pcre> _pcre;
  bool usedAll_ = false;
  std::size_t stoppedAt_ = 0;
};

#endif  // VU_PATTERN_H_
