// Classifying URLs by their registered domain.
//
//   vu_cctld table(nullptr);
//   table.initSet("suffixes.txt");             // "co.uk 3" and the like, one a line; throws
//   vu_domain found = table.classify("http://www.shop.co.uk:8080/index.html");
//   if (found.status == VU_SUCCESS) {
//     std::cout << found.domain << '\n';       // "shop.co.uk", a view into the URL
//   } else {
//     std::cout << statusText(found.status) << '\n';
//   }
//
// That is the service's own rule; `classify(url, vu_match::publicSuffix)` follows the rules of the
// Public Suffix List.
//
// The host stands after a scheme ("://" within the first 17 bytes) and before the first "/" or ":".
// Its labels are runs of letters, digits, "-" and "_" that begin with a letter or digit; each is
// followed by a dot or by the end of the host. A host whose labels are all numbers below 255 is an
// address; any other is cut down to the label in front of a listed suffix.
//
// Threads:  `classify`, `lookup` and the accessors may run in any number of threads at once on one
//           table, while nobody runs `initSet` or `reload` on it.
// Errors:   `classify` has none, its status tells; the others throw vu_exception, of kind `file`
//           when they load and `domain` when they look up.
// Lifetime: results are views into the caller's URL. A table is not copied.
// Cost:     look-ups take time in proportion to the URL, whatever numbers the table holds; memory
//           of a table is in proportion to its file. `classify`, and the first `lookup` unless it
//           throws, allocate nothing.

#ifndef VU_DOMAIN_H_
#define VU_DOMAIN_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "vu/export.h"
#include "vu/foundation.h"
#include "vu/host.h"
#include "vu/record.h"

class vu_pcre;

namespace vu::detail {
class SuffixTable;
}  // namespace vu::detail

/// How a host is matched with the suffixes of a table.
enum class vu_match {
  /// The service's own rule: the shortest listed suffix of at least two labels wins, letter case
  /// counts, and where none is listed the domain is the last two labels.
  shortest,
  /// The rules of the Public Suffix List: the longest rule wins, "*.x" stands for any one label in
  /// front of x (and does not by itself make x a suffix), "!a.x" is an exception, a top level that
  /// is not listed is a suffix of one label, letter case is ignored. A host that is not labels
  /// joined by single dots, one at its end allowed, is refused with 202; the other rule looks for
  /// labels in it.
  publicSuffix
};

/// What `vu_cctld::classify` finds. Trivially copyable; holds no rule, which costs more to tell.
struct vu_domain {
  /// VU_SUCCESS, or why there is no domain: VU_COUNTRY_CODE_EMPTY_URL (201) for a view without
  /// data, _NOT_A_DOMAIN (202) for a label followed by anything but a dot (and for a host of more
  /// than 2^31 - 1 bytes; by the `publicSuffix` rule for all but joined labels), _TOO_SHORT (203)
  /// for a single label, _PURE_DOMAIN (204) for a host that is a suffix itself.
  vu_status status;
  /// `name`, `ipv4` for a host of at least one label whose labels are all numbers below 255, or
  /// `none` for an empty host and after 201 and 202.
  vu_host_kind kind;
  /// The host within the URL; empty when there is none.
  std::string_view host;
  /// The registered domain or the address, from its first label to the end of the host, less one
  /// trailing dot. Empty for an empty host. A view without data after a refusal, and when the host
  /// is a single label that the caller completes: host + "." + defaultDomain().
  std::string_view domain;
  /// Of an address, in network order: an IPv4 address in the first four bytes, the last four of its
  /// numbers, or fewer behind zeros. After 202 by the `shortest` rule: the same of the numbers that
  /// the host begins with. Otherwise zeros.
  std::array<std::uint8_t, 16> address;

  /// Whether the host is an address.
  bool isAddress() const noexcept {
    return kind == vu_host_kind::ipv4 || kind == vu_host_kind::ipv6;
  }

  /// The first four bytes of `address` as a number, the last of them lowest; 0 for IPv6.
  std::uint32_t ipAddress() const noexcept {
    if (kind == vu_host_kind::ipv6) return 0;
    return std::uint32_t{address[0]} << 24 | std::uint32_t{address[1]} << 16 |
           std::uint32_t{address[2]} << 8 | std::uint32_t{address[3]};
  }
};

/// What kind of rule decided about a host.
enum class vu_rule_kind : std::uint8_t {
  none,       ///< None: there is no name, or the `shortest` rule found no suffix.
  standard,   ///< "*", which makes any top level a suffix that is not listed.
  suffix,     ///< A name as it is listed.
  wildcard,   ///< "*." in front of a name.
  exception,  ///< "!" in front of a name.
};

/// The section of the Public Suffix List that a rule stands in.
enum class vu_section : std::uint8_t {
  none,  ///< None: a definition file has no sections, nor has the rule "*".
  icann,
  privateDomains
};

/// What `vu_cctld::explain` finds.
struct vu_reason {
  vu_domain domain;    ///< As `classify` finds it, but for what was narrowed.
  vu_rule_kind rule;   ///< The kind of the rule that decided.
  vu_section section;  ///< A rule that stands in both is told of as `icann`.
  /// The rule's name without its mark, in ASCII; in the table, so until that is loaded again or
  /// goes.
  std::string_view name;

  /// The rule as it is listed, "*.ck", "!www.ck", "co.uk" or "*"; "" for none.
  VU_EXPORT std::string text() const;
};

/// Which rules may decide, as bits.
enum vu_narrowing : unsigned {
  /// Only those of the ICANN section. A table without sections has none of them: ask `facts` first.
  VU_ICANN_ONLY = 1,
  /// Hosts for which nothing is listed are refused with 202.
  VU_LISTED_ONLY = 2
};

/// What a table tells of itself.
struct vu_table_facts {
  std::string version;           ///< Of the list that it was made of, as that tells it; or "".
  std::string commit;            ///< The same.
  std::uint32_t icann;           ///< The number of rules by section, which together are all.
  std::uint32_t privateDomains;  ///< The same.
  std::uint32_t none;            ///< The same.
};

/// A table of domain suffixes and the look-up of URLs in it.
class VU_EXPORT vu_cctld {
 public:
  /// Loads the definition file at `tldFile` unless that is null. A file that cannot be loaded is
  /// not reported: the table then holds the records in front of the bad one, or nothing; `initSet`
  /// tells. `defaultDomain` is what hosts of a single label are completed with; null means none:
  /// such a host is refused.
  explicit vu_cctld(const char* tldFile, const char* defaultDomain = nullptr);
  vu_cctld(const vu_cctld&) = delete;
  vu_cctld& operator=(const vu_cctld&) = delete;
  ~vu_cctld();

  /// Opens the table at `path` in any of its forms, told by its first bytes: a compiled table,
  /// which `vu suffixes build` writes and which is used where it lies, shared by all processes; a
  /// Public Suffix List, which begins with a comment ("//"); else a definition file. All or
  /// nothing: whatever it throws, the table is as it was. Returns the number of distinct suffixes.
  /// A compiled table is opened without being read; its file must be replaced by renaming, never
  /// written or cut in place.
  ///
  /// Throws vu_exception as `initSet` does, and:
  ///   "Suffix table [" + path + "] " + what is wrong with a compiled table;
  ///   "Public Suffix List [" + path + "] line " + N + " is no suffix rule: " + its beginning;
  ///   "Public Suffix List [" + path + "] has no rules";
  ///   "Public Suffix List [" + path + "] cannot be read whole".
  int open(const char* path);

  /// The same of a file's bytes; `name` stands for its path in messages.
  int openBytes(std::string bytes, const std::string& name);

  /// Empties the table and loads the definition file at `path`: records of a suffix (at most 1023
  /// bytes without white space), white space, and the number of labels of a domain registered under
  /// it. That number is held within 32 bits, then cut to 16; the largest one seen in the object's
  /// life is `maxLabels`. Returns the number of distinct suffixes.
  ///
  /// Throws vu_exception:
  ///   "Top level domain definition file [" + path + "] open error : " + the system's text
  ///       (a null path is written "NULL"); the table is empty then;
  ///   "Top level domain : Read Error at [" + N + "]-th record", N being one more than the
  ///       number of distinct suffixes read so far, which stay in the table;
  /// and std::bad_alloc, with the table empty or as it was.
  int initSet(const char* path);

  /// As `open`, for a table that is in use: a file that is being written is no file to take (write
  /// it aside and rename it), all bytes of a compiled table are checked, and `least` is the fewest
  /// suffixes to accept; negative: half of what the table has.
  ///
  /// Throws as above, and vu_exception "Top level domain definition file [" + path + "] ...":
  ///   "changed while it was read"                            when its size or time is another;
  ///   "has " + N + " suffixes, fewer than " + least.
  int reload(const char* path, int least = -1);

  /// Classifies `url`. A NUL in it is a byte like any other.
  [[nodiscard]] vu_domain classify(std::string_view url,
                                   vu_match match = vu_match::shortest) const noexcept;

  /// Classifies a host as browsers see it, which `browserHost` in <vu/url.h> finds. A name is cut;
  /// where it is no chain of labels, `publicSuffix` cuts what of its end is one. An address, with
  /// numbers up to 255 or of IPv6, is a domain itself. Anything else has no domain: 201 where there
  /// is no host, 202 for one that was refused or is opaque. `host` and `domain` are views into what
  /// `host.text` is a view into.
  [[nodiscard]] vu_domain classify(const vu_host& host,
                                   vu_match match = vu_match::shortest) const noexcept;

  /// Classifies `count` URLs in one call, each as above, and writes as many records. URL number i
  /// is what stands in `bytes` from offsets[i] to offsets[i + 1], as the columns of Arrow have it:
  /// there is one offset more than there are URLs. Offsets that run backwards make 201.
  /// `recordSize` is the distance of the records, which a caller built with other headers sets to
  /// the size of its own: fields beyond it are left out, those that are not known here are zeros.
  void classify(const char* bytes, const std::int32_t* offsets, std::size_t count,
                vu_record* results, vu_match match = vu_match::shortest,
                std::size_t recordSize = sizeof(vu_record)) const noexcept;
  /// The same with offsets beyond 2^31 - 1.
  void classify(const char* bytes, const std::int64_t* offsets, std::size_t count,
                vu_record* results, vu_match match = vu_match::shortest,
                std::size_t recordSize = sizeof(vu_record)) const noexcept;
  /// The same of texts that lie anywhere.
  void classify(const vu_text* urls, std::size_t count, vu_record* results,
                vu_match match = vu_match::shortest,
                std::size_t recordSize = sizeof(vu_record)) const noexcept;

  /// Classifies a NUL-terminated URL by the `shortest` rule. Returns where in `url` the domain
  /// begins, with its length to the end of the host (a trailing dot counts) in `domainLength`, and
  /// in `ipAddress` the address or 0. Null when the host is a single label to be completed with the
  /// default domain; `domainLength` is then the host's. `reserved` is always set to 0.
  ///
  /// Throws vu_exception, text being the URL from its host on; the outputs are all 0 then, but for
  /// `ipAddress` in the second case, as told at vu_domain:
  ///   "Top Level Domain lookup error : Empty URL"                                for a null `url`;
  ///   "vu_cctld::lookup: Not a URL domain name " + text;
  ///   "Ill-formed domain name [" + text + "] - record too short 1";
  ///   "Ill-formed domain name [" + text + "] - Pure domain record".
  const char* lookup(const char* url, int& domainLength, unsigned int& ipAddress,
                     int& reserved) const;

  /// The same with the domain as a string, less one trailing dot, and completed with the default
  /// domain where there is no other. Returns 0.
  ///
  /// Throws as above, and "Internal lookup return NULL" for an empty host without default domain.
  /// `domain` is unchanged then.
  int lookup(const char* url, std::string& domain, unsigned int& ipAddress) const;

  /// Classifies `url` and tells which rule decided. `narrowing` is of vu_narrowing and holds for
  /// the `publicSuffix` rule only.
  [[nodiscard]] vu_reason explain(std::string_view url, vu_match match = vu_match::shortest,
                                  unsigned narrowing = 0) const noexcept;

  /// The same for a host as browsers see it, of which only a name has a rule.
  [[nodiscard]] vu_reason explain(const vu_host& host, vu_match match = vu_match::shortest,
                                  unsigned narrowing = 0) const noexcept;

  /// What the table tells of itself. Throws std::bad_alloc only.
  vu_table_facts facts() const;

  /// The number of distinct suffixes in the table.
  int suffixCount() const noexcept;
  /// How many labels of a host the `shortest` rule looks at, counted from the right; 2 or more.
  int maxLabels() const noexcept;
  /// The text that single labels are completed with; empty when there is none.
  const std::string& defaultDomain() const noexcept;

 private:
  std::string defaultDomain_;
  // The suffixes, in the form that look-ups use.
  std::unique_ptr<vu::detail::SuffixTable> tldSet_;
  int maxLabels_ = 2;
  // What a label is, as an expression. Look-ups find labels by a direct scan with the same result.
  std::unique_ptr<vu_pcre> labelRegex_;
};

/// A table that is renewed while it is read.
///
///   vu_shared_cctld shared("suffixes.txt");
///   shared.get()->classify(url);       // in any thread
///   shared.reload("suffixes.txt");     // now and then
///
/// Threads: everything in any number of threads at once. `get` takes a lock for as long as a
/// pointer is copied, so take the table once a request, not once a URL.
class VU_EXPORT vu_shared_cctld {
 public:
  /// Loads the definition file at `path`; throws as vu_cctld::reload does, for whatever it cannot
  /// read. `defaultDomain` is as for vu_cctld.
  explicit vu_shared_cctld(const char* path, const char* defaultDomain = nullptr);
  vu_shared_cctld(const vu_shared_cctld&) = delete;
  vu_shared_cctld& operator=(const vu_shared_cctld&) = delete;
  ~vu_shared_cctld();

  /// The table of the moment. It lives, and stays as it is, as long as somebody holds it.
  [[nodiscard]] std::shared_ptr<const vu_cctld> get() const;

  /// Makes a table of the file at `path` and puts it in place of the one that `get` gives; as
  /// vu_cctld::reload, but `maxLabels` is the new file's own. Whatever it throws, `get` gives the
  /// table that it gave before.
  int reload(const char* path, int least = -1);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

#endif  // VU_DOMAIN_H_
