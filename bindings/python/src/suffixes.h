// A table and two rules, for Python: which host a URL has, and how it is cut.

#ifndef VU_BINDINGS_PYTHON_SUFFIXES_H_
#define VU_BINDINGS_PYTHON_SUFFIXES_H_

#include <deque>
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
  Suffixes(const py::object& path, const std::string& match, const std::string& host);

  /// Classifies `text`, which becomes what the record counts from: itself, or the host that
  /// browsers see, in `room`. Only std::bad_alloc is thrown.
  void find(std::string_view& text, std::string& room, vu_record& record) const;

  /// The same of many; `rooms` holds what must live as long as the texts.
  void find(vu_text* texts, std::size_t count, vu_record* records,
            std::deque<std::string>& rooms) const;

  /// The rule that decided about what `find` left in `text` and `record`.
  vu_explanation explain(std::string_view text, const vu_record& record) const;

  /// The registered domain of each: a str, or None for a refusal or where there is no text.
  py::list domainsOfList(const py::sequence& urls) const;

  /// The same of an array, or of a stream of arrays, by Arrow's C data interface.
  std::unique_ptr<StringColumn> domainsOfArrow(const py::object& column) const;

  std::string path() const { return vu_table_path(table_.get()); }
  std::string match() const;
  std::string host() const;
  std::uint64_t rules() const { return vu_table_rules(table_.get()); }
  /// What the table tells of itself; None where it does not.
  py::object version() const;
  py::object made() const;

 private:
  std::unique_ptr<vu_table, void (*)(vu_table*)> table_{nullptr, vu_table_close};
  vu_rule rule_;
  bool asBrowsers_;
};

/// So many URLs, and no more once they have so many bytes, go by between two looks at whether the
/// user wants to stop.
inline constexpr std::size_t kChunk = 4096;
inline constexpr std::size_t kChunkBytes = std::size_t{1} << 25;

/// Raises what a signal handler of Python's raises, such as KeyboardInterrupt.
inline void stopIfAsked() {
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

}  // namespace vu::python

#endif  // VU_BINDINGS_PYTHON_SUFFIXES_H_
