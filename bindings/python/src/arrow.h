// Columns that cross by Arrow's C data interface: structures of three kinds, handed over in
// capsules.
// https://arrow.apache.org/docs/format/CDataInterface.html

#ifndef VU_BINDINGS_PYTHON_ARROW_H_
#define VU_BINDINGS_PYTHON_ARROW_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "result.h"

extern "C" {

struct ArrowSchema {
  const char* format;
  const char* name;
  const char* metadata;
  std::int64_t flags;
  std::int64_t n_children;
  ArrowSchema** children;
  ArrowSchema* dictionary;
  void (*release)(ArrowSchema*);
  void* private_data;
};

struct ArrowArray {
  std::int64_t length;
  std::int64_t null_count;
  std::int64_t offset;
  std::int64_t n_buffers;
  std::int64_t n_children;
  const void** buffers;
  ArrowArray** children;
  ArrowArray* dictionary;
  void (*release)(ArrowArray*);
  void* private_data;
};

struct ArrowArrayStream {
  int (*get_schema)(ArrowArrayStream*, ArrowSchema*);
  int (*get_next)(ArrowArrayStream*, ArrowArray*);
  const char* (*get_last_error)(ArrowArrayStream*);
  void (*release)(ArrowArrayStream*);
  void* private_data;
};

}  // extern "C"

namespace vu::python {

/// Texts, or their absence, as Arrow's large_string. Shared by whoever it is handed to, and never
/// changed any more by then.
class StringColumn {
 public:
  void append(std::string_view text);
  void appendMissing();
  void reserve(std::size_t more);

  std::size_t size() const { return data_->offsets.size() - 1; }
  py::object at(Py_ssize_t index) const;
  py::list toList() const;
  /// The schema and the array in capsules. What schema was asked for does not matter: there is one.
  py::tuple capsules(const py::object& requestedSchema) const;

 private:
  struct Data {
    std::string bytes;
    std::vector<std::int64_t> offsets = {0};
    std::vector<std::uint8_t> valid;  // a bit a text
    std::int64_t missing = 0;
    const void* buffers[3];
  };
  void appendBit(bool valid);
  bool isValid(std::size_t i) const { return (data_->valid[i / 8] >> (i % 8) & 1) != 0; }
  std::string_view textAt(std::size_t i) const;

  std::shared_ptr<Data> data_ = std::make_shared<Data>();
};

}  // namespace vu::python

#endif  // VU_BINDINGS_PYTHON_ARROW_H_
