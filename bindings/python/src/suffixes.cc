#include "suffixes.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <vu/host.h>
#include <vu/url_c.h>

namespace vu::python {
namespace {

constexpr char kShortest[] = "shortest";
constexpr char kPublicSuffix[] = "public-suffix";
constexpr char kBrowser[] = "browser";
constexpr char kService[] = "service";

vu_rule ruleOf(const std::string& match) {
  if (match == kShortest) return VU_RULE_SERVICE;
  if (match == kPublicSuffix) return VU_RULE_PUBLIC_SUFFIX;
  throw py::value_error("match is \"shortest\" or \"public-suffix\", not \"" + match + "\"");
}

bool isBrowser(const std::string& host) {
  if (host == kBrowser) return true;
  if (host == kService) return false;
  throw py::value_error("host is \"browser\" or \"service\", not \"" + host + "\"");
}

/// The host that a browser goes to; `text` becomes what it is in: itself or `room`. Most hosts
/// stand in their URL or are short; a canonical text in ASCII is no longer than its source, and
/// others stay below the bound of that.
vu_host_record browserHost(std::string_view& text, std::string& room) {
  constexpr auto kNoRoom = static_cast<std::uint8_t>(vu_host_refusal::noRoom);
  char buffer[256];
  vu_host_record host;
  const auto find = [&](char* start, std::size_t size) {
    vu_browser_host(text.data(), text.size(), VU_TEXT_TYPED, start, size, &host, sizeof host);
    return host.refused != kNoRoom;
  };
  const bool isShort = find(buffer, sizeof buffer);
  if (!isShort) {
    room.resize(host.source_length);
    if (!find(room.data(), room.size())) {
      room.resize(vu_browser_host_bound(host.source_length));
      find(room.data(), room.size());
    }
  }
  if (host.text_in_buffer == 0) {
    room.clear();
    return host;
  }
  const std::size_t size = host.text_start + std::size_t{host.text_length};
  if (isShort) {
    room.assign(buffer, size);
  } else {
    room.resize(size);
  }
  text = room;
  return host;
}

/// Texts as objects, of which most have been met before: the domains of a column are few. What is
/// kept is looked at only where its hash is the same.
class SharedTexts {
 public:
  py::object of(std::string_view bytes) {
    const std::size_t hash = std::hash<std::string_view>()(bytes);
    Known& known = known_[hash % known_.size()];
    if (!known.text || known.hash != hash || !is(known.text, bytes)) known = {hash, strOf(bytes)};
    return known.text;
  }

 private:
  struct Known {
    std::size_t hash;
    py::object text;
  };

  static bool is(const py::object& text, std::string_view bytes) {
    return PyUnicode_IS_ASCII(text.ptr()) &&
           static_cast<std::size_t>(PyUnicode_GET_LENGTH(text.ptr())) == bytes.size() &&
           std::memcmp(PyUnicode_1BYTE_DATA(text.ptr()), bytes.data(), bytes.size()) == 0;
  }

  std::vector<Known> known_ = std::vector<Known>(1024);
};

vu_table_description describe(const vu_table* table) {
  vu_table_description told;
  vu_table_describe(table, &told, sizeof told);
  return told;
}

[[noreturn]] void raiseTableError(int code, const char* message) {
  const py::object type = py::module_::import("vu.errors").attr("TableError");
  PyErr_SetObject(type.ptr(), type(code, strOf(message)).ptr());
  throw py::error_already_set();
}

}  // namespace

Suffixes::Suffixes(const py::object& path, const std::string& match, const std::string& host)
    : rule_(ruleOf(match)), asBrowsers_(isBrowser(host)) {
  std::string file;
  if (!path.is_none()) {
    file = py::module_::import("os").attr("fsencode")(path).cast<std::string>();
    // The library would take it for no path, or for another one.
    if (file.empty() || file.find('\0') != std::string::npos) {
      throw py::value_error("a path is not empty and has no NUL");
    }
  }
  vu_table* table = nullptr;
  char message[4096 + 256];
  int code = VU_OK;
  {
    const py::gil_scoped_release others;
    code = vu_table_open(path.is_none() ? nullptr : file.c_str(), &table, message, sizeof message);
  }
  if (code != VU_OK) raiseTableError(code, message);
  table_.reset(table);
}

std::string Suffixes::match() const { return rule_ == VU_RULE_SERVICE ? kShortest : kPublicSuffix; }
std::string Suffixes::host() const { return asBrowsers_ ? kBrowser : kService; }

py::object Suffixes::version() const {
  const vu_text version = describe(table_.get()).version;
  if (version.size == 0) return py::none();
  return strOf({version.data, version.size});
}

py::object Suffixes::made() const {
  const std::int64_t made = describe(table_.get()).made;
  if (made < 0) return py::none();
  const py::module_ datetime = py::module_::import("datetime");
  return datetime.attr("datetime")
      .attr("fromtimestamp")(made, datetime.attr("timezone").attr("utc"));
}

void Suffixes::find(std::string_view& text, std::string& room, vu_record& record) const {
  if (!asBrowsers_ || text.empty()) {
    room.clear();
    vu_classify(table_.get(), rule_, text.data(), text.size(), &record, sizeof record);
    return;
  }
  const vu_host_record host = browserHost(text, room);
  vu_classify_host(table_.get(), rule_, text.data(), &host, &record, sizeof record);
}

void Suffixes::find(vu_text* texts, std::size_t count, vu_record* records,
                    std::deque<std::string>& rooms) const {
  if (!asBrowsers_) {
    vu_classify_texts(table_.get(), rule_, texts, count, records, sizeof *records);
    return;
  }
  rooms.clear();
  std::string room;
  for (std::size_t i = 0; i < count; ++i) {
    std::string_view text(texts[i].data, texts[i].size);
    find(text, room, records[i]);
    if (!room.empty()) text = rooms.emplace_back(room);
    texts[i] = {text.data(), text.size()};
  }
}

vu_explanation Suffixes::explain(std::string_view text, const vu_record& record) const {
  vu_explanation why{};
  if (!asBrowsers_) {
    vu_explain(table_.get(), rule_, 0, text.data(), text.size(), &why, sizeof why);
  } else {
    vu_host_record host{};
    host.kind = record.kind;
    host.text_start = record.host_start;
    host.text_length = record.host_length;
    vu_explain_host(table_.get(), rule_, 0, text.data(), &host, &why, sizeof why);
  }
  return why;
}

py::list Suffixes::domainsOfList(const py::sequence& urls) const {
  const auto fast = py::reinterpret_steal<py::object>(
      PySequence_Fast(urls.ptr(), "a column is a sequence of URLs"));
  if (!fast) throw py::error_already_set();
  py::list domains;
  // While the lock is away, somebody else may change the list: what is looked at is held here.
  std::vector<py::object> owners(kChunk);
  std::vector<vu_text> texts(kChunk);
  std::vector<vu_record> records(kChunk);
  std::deque<std::string> rooms;
  SharedTexts shared;
  for (Py_ssize_t next = 0; next < PySequence_Fast_GET_SIZE(fast.ptr());) {
    std::size_t count = 0;
    std::size_t bytes = 0;
    for (; count < kChunk && bytes < kChunkBytes && next < PySequence_Fast_GET_SIZE(fast.ptr());
         ++count, ++next) {
      const py::handle item = PySequence_Fast_GET_ITEM(fast.ptr(), next);
      if (isMissing(item)) {
        owners[count] = py::object();
        texts[count] = {nullptr, 0};
        continue;
      }
      Text text = textOf(item);
      owners[count] = std::move(text.owner);
      texts[count] = {text.bytes.data(), text.bytes.size()};
      bytes += text.bytes.size();
    }
    {
      const py::gil_scoped_release others;
      find(texts.data(), count, records.data(), rooms);
    }
    for (std::size_t i = 0; i < count; ++i) {
      py::object domain = py::none();
      if (records[i].status == 0) {
        domain = shared.of({texts[i].data + records[i].domain_start, records[i].domain_length});
      }
      if (PyList_Append(domains.ptr(), domain.ptr()) != 0) throw py::error_already_set();
    }
    stopIfAsked();
  }
  return domains;
}

}  // namespace vu::python
