// The C interface: the record of a host by places and lengths.

#include "vu/url_c.h"

#include <cstring>
#include <limits>
#include <type_traits>

#include "vu/url.h"

static_assert(sizeof(vu_host_record) == 48 && alignof(vu_host_record) == 4);
static_assert(offsetof(vu_host_record, address) == 24);
static_assert(std::is_trivially_copyable_v<vu_host_record> &&
              std::is_trivially_copyable_v<vu_host>);

namespace {

constexpr int kOk = 0;
constexpr int kBadArgument = 1;

vu_host_record recordOf(const vu_host& host, std::string_view url, const char* buffer) {
  const auto placeIn = [](std::string_view view, const char* text) {
    return view.empty() ? 0 : static_cast<std::uint32_t>(view.data() - text);
  };
  vu_host_record record{};
  record.kind = static_cast<std::uint8_t>(host.kind);
  record.refused = static_cast<std::uint8_t>(host.refused);
  record.port = host.port;
  record.source_start = placeIn(host.source, url.data());
  record.source_length = static_cast<std::uint32_t>(host.source.size());
  record.text_in_buffer = !host.text.empty() && host.text.data() == buffer ? 1 : 0;
  record.text_start = record.text_in_buffer != 0 ? 0 : placeIn(host.text, url.data());
  record.text_length = static_cast<std::uint32_t>(host.text.size());
  std::memcpy(record.address, host.address.data(), sizeof record.address);
  return record;
}

vu_host_refusal refusalOf(std::uint32_t number) {
  return static_cast<vu_host_refusal>(number < 255 ? number : 255);
}

}  // namespace

size_t vu_browser_host_bound(size_t url_length) { return browserHostBound(url_length); }

int vu_browser_host(const char* url, size_t length, int form, char* buffer, size_t buffer_size,
                    vu_host_record* record, size_t record_size) {
  if ((url == nullptr && length > 0) || (buffer == nullptr && buffer_size > 0) ||
      record == nullptr || record_size < sizeof *record ||
      (form != VU_TEXT_URL && form != VU_TEXT_TYPED)) {
    return kBadArgument;
  }
  const std::string_view text(url, length);
  vu_host host;
  if (length > std::numeric_limits<std::uint32_t>::max()) {
    host.refused = vu_host_refusal::tooLong;
  } else {
    const auto how = form == VU_TEXT_TYPED ? vu_url_text::typed : vu_url_text::url;
    host = browserHost(text, buffer, buffer_size, how);
  }
  const vu_host_record result = recordOf(host, text, buffer);
  std::memset(record, 0, record_size);
  std::memcpy(record, &result, sizeof result);
  return kOk;
}

const char* vu_refusal_name(uint32_t refusal) { return refusalName(refusalOf(refusal)); }
const char* vu_refusal_text(uint32_t refusal) { return refusalText(refusalOf(refusal)); }
