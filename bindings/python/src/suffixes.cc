#include "suffixes.h"

#include <algorithm>
#include <vector>

namespace vu::python {
namespace {

constexpr char kShortest[] = "shortest";
constexpr char kPublicSuffix[] = "public-suffix";

vu_rule ruleOf(const std::string& match) {
  if (match == kShortest) return VU_RULE_SERVICE;
  if (match == kPublicSuffix) return VU_RULE_PUBLIC_SUFFIX;
  throw py::value_error("match is \"shortest\" or \"public-suffix\", not \"" + match + "\"");
}

[[noreturn]] void raiseTableError(int code, const char* message) {
  const py::object type = py::module_::import("vu.errors").attr("TableError");
  PyErr_SetObject(type.ptr(), type(code, strOf(message)).ptr());
  throw py::error_already_set();
}

}  // namespace

Suffixes::Suffixes(const py::object& path, const std::string& match) : rule_(ruleOf(match)) {
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

py::list Suffixes::domainsOfList(const py::sequence& urls) const {
  const auto fast = py::reinterpret_steal<py::object>(
      PySequence_Fast(urls.ptr(), "a column is a sequence of URLs"));
  if (!fast) throw py::error_already_set();
  py::list domains;
  // While the lock is away, somebody else may change the list: what is looked at is held here.
  std::vector<py::object> owners(kChunk);
  std::vector<vu_text> texts(kChunk);
  std::vector<vu_record> records(kChunk);
  for (Py_ssize_t next = 0; next < PySequence_Fast_GET_SIZE(fast.ptr());) {
    std::size_t count = 0;
    for (; count < kChunk && next < PySequence_Fast_GET_SIZE(fast.ptr()); ++count, ++next) {
      const py::handle item = PySequence_Fast_GET_ITEM(fast.ptr(), next);
      if (isMissing(item)) {
        owners[count] = py::object();
        texts[count] = {nullptr, 0};
        continue;
      }
      Text text = textOf(item);
      owners[count] = std::move(text.owner);
      texts[count] = {text.bytes.data(), text.bytes.size()};
    }
    {
      const py::gil_scoped_release others;
      vu_classify_texts(table_.get(), rule_, texts.data(), count, records.data(),
                        sizeof(vu_record));
    }
    for (std::size_t i = 0; i < count; ++i) {
      py::object domain = py::none();
      if (records[i].status == 0) {
        domain = strOf({texts[i].data + records[i].domain_start, records[i].domain_length});
      }
      if (PyList_Append(domains.ptr(), domain.ptr()) != 0) throw py::error_already_set();
    }
    stopIfAsked();
  }
  return domains;
}

}  // namespace vu::python
