// Classifying for C: arguments are looked at once a call, and the rest is vu_cctld's.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "c/table.h"
#include "domain/host.h"
#include "domain/record.h"
#include "vu/c.h"
#include "vu/url_c.h"

static_assert(VU_KIND_NONE == static_cast<int>(vu_rule_kind::none) &&
                  VU_KIND_DEFAULT == static_cast<int>(vu_rule_kind::standard) &&
                  VU_KIND_SUFFIX == static_cast<int>(vu_rule_kind::suffix) &&
                  VU_KIND_WILDCARD == static_cast<int>(vu_rule_kind::wildcard) &&
                  VU_KIND_EXCEPTION == static_cast<int>(vu_rule_kind::exception) &&
                  VU_SECTION_NONE == static_cast<int>(vu_section::none) &&
                  VU_SECTION_ICANN == static_cast<int>(vu_section::icann) &&
                  VU_SECTION_PRIVATE == static_cast<int>(vu_section::privateDomains) &&
                  static_cast<unsigned>(VU_NARROW_ICANN) == VU_ICANN_ONLY &&
                  static_cast<unsigned>(VU_NARROW_LISTED) == VU_LISTED_ONLY,
              "the numbers of C are those of C++");

namespace {

/// The size of a record in the first release; no program knows of a smaller one.
constexpr size_t kSmallestRecord = 48;

vu_match matchOf(int rule) noexcept {
  return rule == VU_RULE_SERVICE ? vu_match::shortest : vu_match::publicSuffix;
}

/// Sets the host that a record tells of; false when it cannot be meant.
bool readHost(const char* text, const vu_host_record* record, vu_host& host) noexcept {
  if (record == nullptr || record->kind > static_cast<std::uint8_t>(vu_host_kind::opaque) ||
      (text == nullptr && record->text_length != 0)) {
    return false;
  }
  host.kind = static_cast<vu_host_kind>(record->kind);
  host.refused = static_cast<vu_host_refusal>(record->refused);
  host.port = record->port;
  if (text != nullptr) host.text = {text + record->text_start, record->text_length};
  std::memcpy(host.address.data(), record->address, sizeof record->address);
  return true;
}

bool areNarrowings(unsigned narrowing) noexcept {
  constexpr unsigned kNarrowings = VU_NARROW_ICANN | VU_NARROW_LISTED;
  return (narrowing & ~kNarrowings) == 0;
}

void setReason(const vu_reason& reason, vu_explanation& explanation, size_t size) noexcept {
  std::memset(&explanation, 0, size);
  explanation.status = reason.domain.status;
  explanation.rule = static_cast<uint8_t>(reason.rule);
  explanation.section = static_cast<uint8_t>(reason.section);
  explanation.name = {reason.name.data(), reason.name.size()};
}

bool isRule(int rule) noexcept { return rule == VU_RULE_SERVICE || rule == VU_RULE_PUBLIC_SUFFIX; }

/// `urls` and `offsets` are null only where there are none.
template <typename Classify>
int classifyInto(const vu_table* table, int rule, const void* urls, size_t count,
                 const vu_record* records, size_t recordSize, Classify classify) noexcept {
  if (table == nullptr || !isRule(rule) || recordSize < kSmallestRecord ||
      count > SIZE_MAX / recordSize) {
    return VU_ERROR_ARGUMENT;
  }
  if (count == 0) return VU_OK;
  if (urls == nullptr || records == nullptr) return VU_ERROR_ARGUMENT;
  classify(matchOf(rule));
  return VU_OK;
}

}  // namespace

int vu_classify(const vu_table* table, int rule, const char* url, size_t length, vu_record* record,
                size_t record_size) {
  if (table == nullptr || record == nullptr || !isRule(rule) || record_size != sizeof *record) {
    const vu_text text = {url, length};
    return vu_classify_texts(table, rule, &text, 1, record, record_size);
  }
  // What a caller of this release does, without a detour: engines ask for one row at a time.
  vu::detail::classifyInto(*record, table->suffixes,
                           url != nullptr ? std::string_view(url, length) : std::string_view(),
                           matchOf(rule));
  return VU_OK;
}

int vu_classify_offsets32(const vu_table* table, int rule, const char* bytes,
                          const int32_t* offsets, size_t count, vu_record* records,
                          size_t record_size) {
  return classifyInto(table, rule, offsets, count, records, record_size, [&](vu_match match) {
    table->suffixes.classify(bytes, offsets, count, records, match, record_size);
  });
}

int vu_classify_offsets64(const vu_table* table, int rule, const char* bytes,
                          const int64_t* offsets, size_t count, vu_record* records,
                          size_t record_size) {
  return classifyInto(table, rule, offsets, count, records, record_size, [&](vu_match match) {
    table->suffixes.classify(bytes, offsets, count, records, match, record_size);
  });
}

int vu_classify_texts(const vu_table* table, int rule, const vu_text* urls, size_t count,
                      vu_record* records, size_t record_size) {
  return classifyInto(table, rule, urls, count, records, record_size, [&](vu_match match) {
    table->suffixes.classify(urls, count, records, match, record_size);
  });
}

int vu_classify_host(const vu_table* table, int rule, const char* text,
                     const struct vu_host_record* host, vu_record* record, size_t record_size) {
  vu_host found;
  if (table == nullptr || !isRule(rule) || record == nullptr || record_size < kSmallestRecord ||
      !readHost(text, host, found)) {
    return VU_ERROR_ARGUMENT;
  }
  std::memset(record, 0, record_size);
  vu::detail::setFound(*record, text, table->suffixes.classify(found, matchOf(rule)));
  return VU_OK;
}

vu_text vu_suffix(const char* url, const vu_record* record) {
  if (url == nullptr || record == nullptr) return {nullptr, 0};
  const std::string_view domain(url + record->domain_start, record->domain_length);
  std::size_t start = domain.size();
  const auto kind = static_cast<vu_host_kind>(record->kind);
  if (kind == vu_host_kind::name) start = std::min(start, domain.find('.'));
  // Between labels the service's rule steps over whatever begins none.
  while (start < domain.size() && !vu::detail::beginsLabel(domain[start])) ++start;
  return {domain.data() + start, domain.size() - start};
}

int vu_explain(const vu_table* table, int rule, unsigned narrowing, const char* url, size_t length,
               vu_explanation* explanation, size_t explanation_size) {
  if (table == nullptr || !isRule(rule) || !areNarrowings(narrowing) || explanation == nullptr ||
      explanation_size < sizeof *explanation) {
    return VU_ERROR_ARGUMENT;
  }
  const std::string_view text = url != nullptr ? std::string_view(url, length) : std::string_view();
  setReason(table->suffixes.explain(text, matchOf(rule), narrowing), *explanation,
            explanation_size);
  return VU_OK;
}

int vu_explain_host(const vu_table* table, int rule, unsigned narrowing, const char* text,
                    const struct vu_host_record* host, vu_explanation* explanation,
                    size_t explanation_size) {
  vu_host found;
  if (table == nullptr || !isRule(rule) || !areNarrowings(narrowing) || explanation == nullptr ||
      explanation_size < sizeof *explanation || !readHost(text, host, found)) {
    return VU_ERROR_ARGUMENT;
  }
  setReason(table->suffixes.explain(found, matchOf(rule), narrowing), *explanation,
            explanation_size);
  return VU_OK;
}
