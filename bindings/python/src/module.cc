// The compiled part of the package: its classes, and what their help says.

#include "arrow.h"
#include "suffixes.h"

namespace py = pybind11;
using vu::python::StringColumn;
using vu::python::Suffixes;

namespace {

/// Called by the interpreter itself: pybind11's way to a function takes longer than a look-up.
PyObject* classify(PyObject* self, PyObject* url) {
  try {
    return vu::python::resultOf(self, py::cast<const Suffixes&>(py::handle(self)), url)
        .release()
        .ptr();
  } catch (py::error_already_set& failure) {
    failure.restore();
  } catch (const py::builtin_exception& failure) {
    failure.set_error();
  } catch (const std::exception&) {
    PyErr_NoMemory();
  }
  return nullptr;
}

PyMethodDef classifyMethod = {"classify", classify, METH_O,
                              "classify($self, url, /)\n--\n\n"
                              "What one URL, a str or bytes, comes to.\n\n"
                              ">>> result = suffixes.classify(\"http://www.shop.co.uk/a\")\n"
                              ">>> result.subdomain, result.domain, result.suffix\n"
                              "('www', 'shop.co.uk', 'co.uk')\n"
                              ">>> suffixes.classify(\"http://co.uk/\")\n"
                              "<vu.Result status=204 'COUNTRY CODE - PURE DOMAIN'>\n"};

void defineSuffixes(py::module_& module) {
  py::class_<Suffixes> suffixes(module, "Suffixes");
  suffixes
      .def(py::init<const py::object&, const std::string&, const std::string&>(),
           py::arg("path") = py::none(), py::kw_only(), py::arg("match") = "shortest",
           py::arg("host") = "browser")
      .def("_domains_of_list", &Suffixes::domainsOfList)
      .def("_domains_of_arrow", &Suffixes::domainsOfArrow)
      .def_property_readonly("path", &Suffixes::path, "The file that is open.")
      .def_property_readonly("match", &Suffixes::match, "The rule: shortest or public-suffix.")
      .def_property_readonly("host", &Suffixes::host, "Whose host: browser or service.")
      .def_property_readonly("rules", &Suffixes::rules, "How many rules the table has.")
      .def_property_readonly("version", &Suffixes::version,
                             "The version of the list that it was made of, or None.")
      .def_property_readonly("made", &Suffixes::made,
                             "When that list was made, or else when the file was last changed: a "
                             "datetime in UTC, or None.");
  suffixes.attr("classify") = py::reinterpret_steal<py::object>(
      PyDescr_NewMethod(reinterpret_cast<PyTypeObject*>(suffixes.ptr()), &classifyMethod));
}

}  // namespace

PYBIND11_MODULE(_vu, module) {
  module.attr("library_version") = vu_library_version();
  module.attr("system_path") = vu_table_system_path();
  module.def("status_text", [](std::uint32_t status) { return vu_status_text(status); });
  vu::python::defineResult(module);
  defineSuffixes(module);
  py::class_<StringColumn>(module, "StringColumn",
                           "Texts and missing values, which Arrow takes as large_string.")
      .def("__len__", &StringColumn::size)
      .def("__getitem__", &StringColumn::at)
      .def("to_pylist", &StringColumn::toList, "A list of str and None.")
      .def("__arrow_c_array__", &StringColumn::capsules, py::arg("requested_schema") = py::none());
}
