#include "result.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>

#include "suffixes.h"
#include <arpa/inet.h>

namespace vu::python {
namespace {

constexpr std::uint8_t kIpv4 = 2;
constexpr std::uint8_t kIpv6 = 3;

struct Result {
  PyObject_HEAD PyObject* url;
  PyObject* suffixes;     // keeps the table
  const Suffixes* table;  // in `suffixes`
  Text text;              // what the record counts from: the URL, or its host as browsers see it
  vu_record record;

  bool hasDomain() const { return record.status == 0; }
  bool hasAddress() const { return record.kind == kIpv4 || record.kind == kIpv6; }
  std::string_view host() const { return text.bytes.substr(record.host_start, record.host_length); }
  std::string_view domain() const {
    return text.bytes.substr(record.domain_start, record.domain_length);
  }
};

PyTypeObject* resultType = nullptr;

const Result& asResult(PyObject* object) { return *reinterpret_cast<Result*>(object); }

void destroy(PyObject* object) {
  auto* const result = reinterpret_cast<Result*>(object);
  Py_DECREF(result->url);
  Py_DECREF(result->suffixes);
  result->text.~Text();
  PyTypeObject* const type = Py_TYPE(object);
  type->tp_free(object);
  Py_DECREF(type);
}

py::object host(const Result& result) {
  if (!result.hasDomain() && result.record.host_length == 0) return py::none();
  return strOf(result.host());
}

py::object domain(const Result& result) {
  if (!result.hasDomain()) return py::none();
  return strOf(result.domain());
}

py::object suffix(const Result& result) {
  if (!result.hasDomain()) return py::none();
  const vu_text found = vu_suffix(result.text.bytes.data(), &result.record);
  return strOf({found.data, found.size});
}

py::object subdomain(const Result& result) {
  if (!result.hasDomain()) return py::none();
  std::string_view front = result.text.bytes.substr(
      result.record.host_start, result.record.domain_start - result.record.host_start);
  if (!front.empty() && front.back() == '.') front.remove_suffix(1);
  return strOf(front);
}

py::object address(const Result& result) {
  if (!result.hasAddress()) return py::none();
  char text[INET6_ADDRSTRLEN];
  inet_ntop(result.record.kind == kIpv4 ? AF_INET : AF_INET6, result.record.address, text,
            sizeof text);
  return py::str(text);
}

py::object rule(const Result& result) {
  constexpr const char* kMarks[] = {"", "*", "", "*.", "!"};
  const vu_explanation why = result.table->explain(result.text.bytes, result.record);
  if (why.rule == VU_KIND_NONE) return py::none();
  std::string listed = kMarks[why.rule];
  if (why.name.size != 0) listed.append(why.name.data, why.name.size);
  return strOf(listed);
}

py::object section(const Result& result) {
  switch (result.table->explain(result.text.bytes, result.record).section) {
    case VU_SECTION_ICANN:
      return py::str("icann");
    case VU_SECTION_PRIVATE:
      return py::str("private");
    default:
      return py::none();
  }
}

py::object status(const Result& result) { return py::int_(result.record.status); }
py::object reason(const Result& result) { return py::str(vu_status_text(result.record.status)); }
py::object url(const Result& result) { return py::reinterpret_borrow<py::object>(result.url); }

py::object described(const Result& result) {
  if (result.hasDomain()) {
    return py::str("<vu.Result domain={!r} host={!r}>").format(domain(result), host(result));
  }
  return py::str("<vu.Result status={} {!r}>").format(status(result), reason(result));
}

/// A part for the interpreter, which knows exceptions of its own only.
template <py::object (*Part)(const Result&)>
PyObject* get(PyObject* object, void* /*unused*/ = nullptr) {
  try {
    return Part(asResult(object)).release().ptr();
  } catch (py::error_already_set& failure) {
    failure.restore();
  } catch (const std::exception&) {
    PyErr_NoMemory();
  }
  return nullptr;
}

PyObject* represent(PyObject* object) { return get<described>(object); }

int isGood(PyObject* object) { return asResult(object).hasDomain() ? 1 : 0; }

PyObject* compare(PyObject* left, PyObject* right, int how) {
  if ((how != Py_EQ && how != Py_NE) || Py_TYPE(right) != resultType) Py_RETURN_NOTIMPLEMENTED;
  const Result& a = asResult(left);
  const Result& b = asResult(right);
  const bool same =
      a.text.bytes == b.text.bytes && std::memcmp(&a.record, &b.record, sizeof a.record) == 0;
  return PyBool_FromLong(same == (how == Py_EQ) ? 1 : 0);
}

Py_hash_t hashOf(PyObject* object) {
  return static_cast<Py_hash_t>(std::hash<std::string_view>()(asResult(object).text.bytes) >> 1);
}

PyGetSetDef parts[] = {
    {"url", get<url>, nullptr, "The URL as it was given.", nullptr},
    {"status", get<status>, nullptr, "0, or why there is no domain: 201 to 204, 1003.", nullptr},
    {"reason", get<reason>, nullptr, "The text of the status.", nullptr},
    {"host", get<host>, nullptr, "The host, as it was looked for; None when there is none.",
     nullptr},
    {"domain", get<domain>, nullptr, "The registered domain or the address; None after a refusal.",
     nullptr},
    {"suffix", get<suffix>, nullptr,
     "What the domain is registered under: the domain less its first label. \"\" for an address, "
     "None after a refusal.",
     nullptr},
    {"subdomain", get<subdomain>, nullptr,
     "What stands in front of the domain, without the dot; None after a refusal.", nullptr},
    {"rule", get<rule>, nullptr,
     "The rule that decided, as it is listed; \"*\" where none is, None where none decided.",
     nullptr},
    {"section", get<section>, nullptr,
     "The section of the Public Suffix List that the rule is in, \"icann\" or \"private\", or "
     "None.",
     nullptr},
    {"address", get<address>, nullptr,
     "The address in its usual form; None when the host is a name.", nullptr},
    {}};

constexpr char kDoc[] = "What a URL came to. Never changes; true when there is a domain.";

template <typename Function>
void* slot(Function function) {
  return reinterpret_cast<void*>(function);
}

/// What a function of one pointer takes the address of.
template <typename Result, typename Argument>
Argument pointee(Result (*function)(Argument*));

}  // namespace

void defineResult(py::module_& module) {
  PyType_Slot slots[] = {{Py_tp_dealloc, slot(destroy)}, {Py_tp_doc, const_cast<char*>(kDoc)},
                         {Py_tp_getset, parts},          {Py_tp_repr, slot(represent)},
                         {Py_tp_hash, slot(hashOf)},     {Py_tp_richcompare, slot(compare)},
                         {Py_nb_bool, slot(isGood)},     {0, nullptr}};
  decltype(pointee(PyType_FromSpec)) form = {"vu.Result", sizeof(Result), 0,
                                             Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION,
                                             slots};
  auto type = py::reinterpret_steal<py::object>(PyType_FromSpec(&form));
  if (!type) throw py::error_already_set();
  module.attr("Result") = type;
  resultType = reinterpret_cast<PyTypeObject*>(type.release().ptr());
}

py::object resultOf(py::handle suffixes, const Suffixes& table, py::handle url) {
  Text text = textOf(url);
  std::string room;
  vu_record record;
  table.find(text.bytes, room, record);
  if (!room.empty()) {
    text.owner = py::bytes(room);
    text.bytes = {PyBytes_AS_STRING(text.owner.ptr()), room.size()};
  }
  PyObject* const object = resultType->tp_alloc(resultType, 0);
  if (object == nullptr) throw py::error_already_set();
  auto* const result = reinterpret_cast<Result*>(object);
  result->url = url.inc_ref().ptr();
  result->suffixes = suffixes.inc_ref().ptr();
  result->table = &table;
  new (&result->text) Text(std::move(text));
  result->record = record;
  return py::reinterpret_steal<py::object>(object);
}

Text textOf(py::handle object) {
  PyObject* const given = object.ptr();
  Text text;
  if (PyUnicode_Check(given)) {
    Py_ssize_t size = 0;
    const char* const data = PyUnicode_AsUTF8AndSize(given, &size);
    if (data != nullptr) {
      text.owner = py::reinterpret_borrow<py::object>(object);
      text.bytes = {data, static_cast<std::size_t>(size)};
      return text;
    }
    PyErr_Clear();
    text.owner = py::reinterpret_steal<py::object>(
        PyUnicode_AsEncodedString(given, "utf-8", "surrogateescape"));
    if (!text.owner) throw py::error_already_set();
  } else if (PyBytes_Check(given)) {
    text.owner = py::reinterpret_borrow<py::object>(object);
  } else {
    throw py::type_error("a URL is a str or bytes, not " + std::string(Py_TYPE(given)->tp_name));
  }
  text.bytes = {PyBytes_AS_STRING(text.owner.ptr()),
                static_cast<std::size_t>(PyBytes_GET_SIZE(text.owner.ptr()))};
  return text;
}

bool isMissing(py::handle object) {
  if (PyUnicode_CheckExact(object.ptr())) return false;
  if (object.is_none()) return true;
  if (PyFloat_Check(object.ptr())) return std::isnan(PyFloat_AS_DOUBLE(object.ptr()));
  const std::string_view type = Py_TYPE(object.ptr())->tp_name;
  return type == "NAType";
}

py::str strOf(std::string_view bytes) {
  auto text = py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape"));
  if (!text) throw py::error_already_set();
  return text;
}

}  // namespace vu::python
