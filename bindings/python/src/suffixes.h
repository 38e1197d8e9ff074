// A table and a rule, for Python.

#ifndef VU_BINDINGS_PYTHON_SUFFIXES_H_
#define VU_BINDINGS_PYTHON_SUFFIXES_H_

#include <memory>
#include <string>

#include "result.h"

namespace vu::python {

class StringColumn;

/// Never changes, so that any number of threads may ask it, with or without the interpreter's lock.
class Suffixes {
 public:
  /// A null path is the table of VU_SUFFIXES, or the system's. Throws vu.TableError, with the path
  /// and the reason.
  Suffixes(const py::object& path, const std::string& match);

  py::object classify(py::handle url) const { return resultOf(table_.get(), rule_, url); }

  /// The registered domain of each: a str, or None for a refusal or where there is no text.
  py::list domainsOfList(const py::sequence& urls) const;

  /// The same of an array, or of a stream of arrays, by Arrow's C data interface.
  std::unique_ptr<StringColumn> domainsOfArrow(const py::object& column) const;

  std::string path() const { return vu_table_path(table_.get()); }
  std::string match() const;
  std::uint64_t rules() const { return vu_table_rules(table_.get()); }

  const vu_table* table() const { return table_.get(); }
  vu_rule rule() const { return rule_; }

 private:
  std::unique_ptr<vu_table, void (*)(vu_table*)> table_{nullptr, vu_table_close};
  vu_rule rule_;
};

/// So many URLs go by between two looks at whether the user wants to stop.
inline constexpr std::size_t kChunk = 16384;

/// Raises what a signal handler of Python's raises, such as KeyboardInterrupt.
inline void stopIfAsked() {
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

}  // namespace vu::python

#endif  // VU_BINDINGS_PYTHON_SUFFIXES_H_
