// The registered domains of URLs for C, and through it for every language that calls C.
//
//   vu_table* table;
//   char why[256];
//   if (vu_table_open("suffixes.txt", &table, why, sizeof why) != VU_OK) {
//     fprintf(stderr, "%s\n", why);
//     return 1;
//   }
//   const char* url = "http://www.shop.co.uk:8080/index.html";
//   vu_record found;
//   if (vu_classify(table, VU_RULE_SERVICE, url, strlen(url), &found, sizeof found) == VU_OK &&
//       found.status == 0) {
//     printf("%.*s\n", (int)found.domain_length, url + found.domain_start);  // shop.co.uk
//   }
//   vu_table_close(table);
//
// Conventions:
//
//  1. A function that can fail returns a vu_code, 0 where all is well. What a URL comes to is no
//     failure of a function: it is the `status` of its record. `errno` means nothing here.
//  2. After a failure, outputs are as they were, but for the pointer that an opening function sets
//     to null.
//  3. Texts that come in are UTF-8 or any other bytes, by place and length where they are URLs (a
//     NUL is a byte like any other), up to a NUL where they are paths.
//  4. Texts that come out live as long as the library, or as the table that they were asked of.
//     Nobody frees them. Messages are written into room of the caller's, cut to it, with a NUL.
//  5. Null where something is needed, a record size below the first release's and an unknown rule
//     are VU_ERROR_ARGUMENT, never a crash. Pointers that dangle cannot be told.
//  6. A table never changes once it is open: any number of threads may ask it at once. A newer file
//     is another table; close the old one when no thread is in a call with it any more.
//  7. No function prints, ends the process, changes its locale or its signals, throws, or keeps a
//     pointer that it was given. Classifying allocates nothing.
//  8. A record is as long as the caller says: pass sizeof(vu_record). What a later release adds
//     comes behind, so programs built with either header run with either library.
//  9. Names and numbers here never change their meaning within libvu.so.1.

#ifndef VU_C_H_
#define VU_C_H_

#include <stddef.h>
#include <stdint.h>

#include "vu/record.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/// What a function comes to.
typedef enum vu_code {
  VU_OK = 0,
  VU_ERROR_ARGUMENT = 1,   ///< A null pointer, a size or a number that cannot be meant.
  VU_ERROR_MEMORY = 2,     ///< Memory has run out.
  VU_ERROR_NOT_FOUND = 3,  ///< No table was named, and none is where one is looked for.
  VU_ERROR_TABLE = 4       ///< The file of a table cannot be read, or is none.
} vu_code;

/// How a host is cut.
typedef enum vu_rule {
  VU_RULE_SERVICE = 0,       ///< The shortest listed suffix of two labels or more wins.
  VU_RULE_PUBLIC_SUFFIX = 1  ///< The rules of the Public Suffix List: the longest wins.
} vu_rule;

/// The library's release, "major.minor.patch".
const char* vu_library_version(void);

/// A sentence for a vu_code; "unknown code" for any other number.
const char* vu_code_text(int code);

/// The text of a record's status, such as "COUNTRY CODE - PURE DOMAIN"; "unknown status" for a
/// number that is none.
const char* vu_status_text(uint32_t status);

/// An open table of suffixes.
typedef struct vu_table vu_table;

/// Where the table of the system is: made when the library is installed, and again when the list of
/// the system changes.
const char* vu_table_system_path(void);

/// Opens the file of a table: a compiled table, which must then be replaced by renaming only, a
/// Public Suffix List, or a definition file. A null or empty `path` means the one that the
/// environment variable VU_SUFFIXES names, and where that is unset or empty the system's. `message`
/// may be null, and otherwise has room for `message_size` bytes: after a failure it tells what
/// happened to which file; else it is as it was.
///
/// Returns VU_OK with `*table` to be closed, or with `*table` null:
///   VU_ERROR_ARGUMENT   `table` is null;
///   VU_ERROR_NOT_FOUND  "No table of suffixes: no path was given, VU_SUFFIXES is not set, and
///                       there is no " and the system's path;
///   VU_ERROR_TABLE      the text that `vu_cctld::open` throws, with the path where it has it;
///   VU_ERROR_MEMORY     "Out of memory".
int vu_table_open(const char* path, vu_table** table, char* message, size_t message_size);

/// The same of a file's bytes, of which a copy is kept; `name`, which may be null, stands for its
/// path in messages and in vu_table_path. Never VU_ERROR_NOT_FOUND.
int vu_table_open_bytes(const void* bytes, size_t size, const char* name, vu_table** table,
                        char* message, size_t message_size);

/// Closes a table; null is none.
void vu_table_close(vu_table* table);

/// The path that the table was opened at; "" for null.
const char* vu_table_path(const vu_table* table);

/// The number of distinct rules in the table; 0 for null.
uint64_t vu_table_rules(const vu_table* table);

/// What a table tells of itself.
typedef struct vu_table_description {
  vu_text version;  ///< Of the list that it was made of; empty where that tells none.
  vu_text commit;   ///< The same.
  /// When that list was made, by its version ("2024-05-01_07-09-51_UTC"), or else when the table's
  /// file was last changed, in seconds since the beginning of 1970, UTC; -1 where neither is known.
  /// Its age is time(NULL) less this.
  int64_t made;
  uint64_t icann;            ///< The number of rules by section, which together are all.
  uint64_t private_domains;  ///< The same.
  uint64_t none;             ///< The same.
} vu_table_description;

/// Tells of a table; the texts live as long as it does. VU_OK, or VU_ERROR_ARGUMENT.
int vu_table_describe(const vu_table* table, vu_table_description* description,
                      size_t description_size);

/// Classifies one URL of `length` bytes into `*record`. A null `url` has status 201.
/// VU_OK, or VU_ERROR_ARGUMENT.
int vu_classify(const vu_table* table, int rule, const char* url, size_t length, vu_record* record,
                size_t record_size);

/// Classifies `count` URLs into as many records, `record_size` apart. URL number i is what stands
/// in `bytes` from offsets[i] to offsets[i + 1], as the columns of Arrow have it: there is one
/// offset more than there are URLs, and every one of them lies within `bytes`. Offsets that run
/// backwards or below 0 make status 201. `bytes` may be null where all URLs are empty; `offsets`
/// and `records` only where `count` is 0. VU_OK, or VU_ERROR_ARGUMENT.
int vu_classify_offsets32(const vu_table* table, int rule, const char* bytes,
                          const int32_t* offsets, size_t count, vu_record* records,
                          size_t record_size);

/// The same with offsets of 64 bits.
int vu_classify_offsets64(const vu_table* table, int rule, const char* bytes,
                          const int64_t* offsets, size_t count, vu_record* records,
                          size_t record_size);

/// The same of texts that lie anywhere; one without data has status 201.
int vu_classify_texts(const vu_table* table, int rule, const vu_text* urls, size_t count,
                      vu_record* records, size_t record_size);

/// What vu_browser_host in <vu/url_c.h>, of libvu-url, makes of a URL.
struct vu_host_record;

/// Classifies a host as browsers see it. `text` is what `text_start` of `*host` counts from, the
/// buffer or the URL, and so do the starts of `*record`; it may be null where there is no host. A
/// name is cut; where it is no chain of labels, VU_RULE_PUBLIC_SUFFIX cuts what of its end is one.
/// An address is a domain itself. Where there is no host the status is 201, after a refusal and for
/// an opaque host 202. VU_OK, or VU_ERROR_ARGUMENT.
int vu_classify_host(const vu_table* table, int rule, const char* text,
                     const struct vu_host_record* host, vu_record* record, size_t record_size);

/// What the domain of a record is registered under, within the `url` that the record is of: the
/// domain less its first label. Empty for an address, a refusal and an empty host; no text for
/// null.
vu_text vu_suffix(const char* url, const vu_record* record);

/// Which kind of rule decided.
typedef enum vu_kind {
  VU_KIND_NONE = 0,      ///< None: there is no name, or the service's rule found no suffix.
  VU_KIND_DEFAULT = 1,   ///< "*", which makes any top level a suffix that is not listed.
  VU_KIND_SUFFIX = 2,    ///< A name as it is listed.
  VU_KIND_WILDCARD = 3,  ///< "*." in front of the name.
  VU_KIND_EXCEPTION = 4  ///< "!" in front of the name.
} vu_kind;

/// Where a rule stands in the Public Suffix List.
typedef enum vu_section_number {
  VU_SECTION_NONE = 0,  ///< A definition file has no sections, nor has the rule "*".
  VU_SECTION_ICANN = 1,
  VU_SECTION_PRIVATE = 2
} vu_section_number;

/// Which rules may decide, as bits; for VU_RULE_PUBLIC_SUFFIX only.
enum {
  VU_NARROW_ICANN = 1,  ///< Those of the ICANN section; a table without sections has none of them.
  VU_NARROW_LISTED = 2  ///< Hosts for which nothing is listed have status 202.
};

/// Why a URL came to what it did.
typedef struct vu_explanation {
  uint32_t status;      ///< As in a record, but for what was narrowed.
  uint8_t rule;         ///< A vu_kind.
  uint8_t section;      ///< A vu_section_number.
  uint8_t reserved[2];  ///< Zeros.
  vu_text name;  ///< The rule's name without its mark; lives as long as the table. Null for none.
} vu_explanation;

/// Tells which rule decided about a URL. VU_OK, or VU_ERROR_ARGUMENT.
int vu_explain(const vu_table* table, int rule, unsigned narrowing, const char* url, size_t length,
               vu_explanation* explanation, size_t explanation_size);

/// The same for a host as vu_classify_host takes it, of which only a name has a rule.
int vu_explain_host(const vu_table* table, int rule, unsigned narrowing, const char* text,
                    const struct vu_host_record* host, vu_explanation* explanation,
                    size_t explanation_size);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif  // VU_C_H_
