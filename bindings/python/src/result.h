// What one URL came to, for Python: the URL's text, kept alive, and where its parts lie in it. The
// parts become objects when they are asked for.

#ifndef VU_BINDINGS_PYTHON_RESULT_H_
#define VU_BINDINGS_PYTHON_RESULT_H_

#include <string_view>

#include <pybind11/pybind11.h>
#include <vu/c.h>

namespace vu::python {

namespace py = pybind11;

class Suffixes;

/// The bytes of a str or bytes object, and whoever owns them: the object, or the bytes of a str
/// that UTF-8 has none for.
struct Text {
  py::object owner;
  std::string_view bytes;
};

/// Surrogates, by which Python tells bytes that are no UTF-8, become those bytes again.
/// Throws py::type_error for any other object.
Text textOf(py::handle object);

/// Whether a column has no text here: None, a NaN, or the missing value of pandas.
bool isMissing(py::handle object);

/// The bytes as a str, those that are no UTF-8 as surrogates.
py::str strOf(std::string_view bytes);

/// Defines the class Result. By hand: objects of a class of pybind11's take three times as long to
/// make as the look-up itself.
void defineResult(py::module_& module);

/// A Result of a URL. `suffixes` is the object of Python's that `table` is in: it is kept.
py::object resultOf(py::handle suffixes, const Suffixes& table, py::handle url);

}  // namespace vu::python

#endif  // VU_BINDINGS_PYTHON_RESULT_H_
