#include "arrow.h"

#include <algorithm>
#include <cstring>

#include "suffixes.h"

namespace vu::python {
namespace {

// ---------------------------------------------------------------------------------------------
// Columns that come in

/// A structure of Arrow's that is ours to release.
template <typename Struct>
struct Owned : Struct {
  Owned() : Struct{} {}
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() {
    if (this->release != nullptr) this->release(this);
  }
};

/// The structure in a capsule; it stays the capsule's.
template <typename Struct>
Struct* inCapsule(const py::object& capsule, const char* name) {
  auto* const found = static_cast<Struct*>(PyCapsule_GetPointer(capsule.ptr(), name));
  if (found == nullptr) throw py::error_already_set();
  if (found->release == nullptr) throw py::value_error("an Arrow column was released before");
  return found;
}

/// Whether offsets have 64 bits. Throws for what is no column of texts.
bool isLarge(const ArrowSchema& schema) {
  const std::string format = schema.format != nullptr ? schema.format : "";
  if (schema.dictionary == nullptr) {
    if (format == "u" || format == "z") return false;
    if (format == "U" || format == "Z") return true;
  }
  throw py::type_error("an Arrow column of URLs is string or large_string, not of format \"" +
                       format + (schema.dictionary != nullptr ? "\" in a dictionary" : "\""));
}

void checkShape(const ArrowArray& array) {
  if (array.n_buffers != 3 || array.length < 0 || array.offset < 0 ||
      (array.length > 0 && array.buffers[1] == nullptr)) {
    throw py::value_error("an Arrow array of texts has three buffers, the second with offsets");
  }
}

/// The texts of a part of an array: as many as fit one chunk, from `start` on. None for what is
/// missing, and for offsets that run backwards.
template <typename Offset>
std::size_t textsOf(const ArrowArray& array, std::size_t start, std::vector<vu_text>& texts) {
  const auto* const valid = static_cast<const std::uint8_t*>(array.buffers[0]);
  const auto* const offsets = static_cast<const Offset*>(array.buffers[1]) + array.offset + start;
  const auto* const bytes = static_cast<const char*>(array.buffers[2]);
  const std::size_t most = std::min(texts.size(), static_cast<std::size_t>(array.length) - start);
  const auto first = static_cast<std::size_t>(array.offset) + start;
  std::size_t total = 0;
  std::size_t count = 0;
  for (; count < most && total < kChunkBytes; ++count) {
    const std::size_t bit = first + count;
    const Offset from = offsets[count];
    const Offset to = offsets[count + 1];
    texts[count] = {nullptr, 0};
    if (valid != nullptr && (valid[bit / 8] >> (bit % 8) & 1) == 0) continue;
    if (from < 0 || to < from) continue;
    // An engine may leave out the bytes where all its texts are empty.
    texts[count] = {bytes != nullptr ? bytes + from : "", static_cast<std::size_t>(to - from)};
    total += texts[count].size;
  }
  return count;
}

template <typename Offset>
void appendDomains(const Suffixes& suffixes, const ArrowArray& array, StringColumn& domains) {
  const auto length = static_cast<std::size_t>(array.length);
  std::vector<vu_text> texts(std::min(kChunk, length));
  std::vector<vu_record> records(texts.size());
  std::deque<std::string> rooms;
  for (std::size_t start = 0; start < length;) {
    {
      const py::gil_scoped_release others;
      const std::size_t count = textsOf<Offset>(array, start, texts);
      suffixes.find(texts.data(), count, records.data(), rooms);
      domains.reserve(count);
      for (std::size_t i = 0; i < count; ++i) {
        if (records[i].status == 0) {
          domains.append({texts[i].data + records[i].domain_start, records[i].domain_length});
        } else {
          domains.appendMissing();
        }
      }
      start += count;
    }
    stopIfAsked();
  }
}

void appendArray(const Suffixes& suffixes, bool large, const ArrowArray& array,
                 StringColumn& domains) {
  checkShape(array);
  if (large) {
    appendDomains<std::int64_t>(suffixes, array, domains);
  } else {
    appendDomains<std::int32_t>(suffixes, array, domains);
  }
}

void appendStream(const Suffixes& suffixes, ArrowArrayStream& stream, StringColumn& domains) {
  const auto check = [&](int failure) {
    if (failure == 0) return;
    const char* const text = stream.get_last_error(&stream);
    throw std::runtime_error(text != nullptr ? text : std::strerror(failure));
  };
  Owned<ArrowSchema> schema;
  check(stream.get_schema(&stream, &schema));
  const bool large = isLarge(schema);
  while (true) {
    Owned<ArrowArray> array;
    check(stream.get_next(&stream, &array));
    if (array.release == nullptr) return;
    appendArray(suffixes, large, array, domains);
  }
}

// ---------------------------------------------------------------------------------------------
// Columns that go out

void releaseSchema(ArrowSchema* schema) { schema->release = nullptr; }

/// A capsule that releases what nobody has taken out of it.
template <typename Struct>
py::capsule capsuleOf(const Struct& made, const char* name) {
  auto kept = std::make_unique<Struct>(made);
  PyObject* const capsule = PyCapsule_New(kept.get(), name, [](PyObject* object) {
    auto* const held =
        static_cast<Struct*>(PyCapsule_GetPointer(object, PyCapsule_GetName(object)));
    if (held->release != nullptr) held->release(held);
    delete held;
  });
  if (capsule == nullptr) throw py::error_already_set();
  kept.release();
  return py::reinterpret_steal<py::capsule>(capsule);
}

}  // namespace

std::unique_ptr<StringColumn> Suffixes::domainsOfArrow(const py::object& column) const {
  auto domains = std::make_unique<StringColumn>();
  if (py::hasattr(column, "__arrow_c_array__")) {
    const py::tuple both = column.attr("__arrow_c_array__")();
    const bool large = isLarge(*inCapsule<ArrowSchema>(both[0], "arrow_schema"));
    appendArray(*this, large, *inCapsule<ArrowArray>(both[1], "arrow_array"), *domains);
  } else {
    const py::object capsule = column.attr("__arrow_c_stream__")();
    appendStream(*this, *inCapsule<ArrowArrayStream>(capsule, "arrow_array_stream"), *domains);
  }
  return domains;
}

void StringColumn::appendBit(bool valid) {
  const std::size_t i = size();
  if (i % 8 == 0) data_->valid.push_back(0);
  if (valid) data_->valid.back() = static_cast<std::uint8_t>(data_->valid.back() | 1U << (i % 8));
}

void StringColumn::append(std::string_view text) {
  appendBit(true);
  data_->bytes += text;
  data_->offsets.push_back(static_cast<std::int64_t>(data_->bytes.size()));
}

void StringColumn::appendMissing() {
  appendBit(false);
  ++data_->missing;
  data_->offsets.push_back(data_->offsets.back());
}

/// In steps that grow, or appending would cost the square of its length.
void StringColumn::reserve(std::size_t more) {
  const std::size_t needed = data_->offsets.size() + more;
  if (needed > data_->offsets.capacity()) {
    data_->offsets.reserve(std::max(needed, 2 * data_->offsets.capacity()));
  }
}

std::string_view StringColumn::textAt(std::size_t i) const {
  const auto start = static_cast<std::size_t>(data_->offsets[i]);
  return std::string_view(data_->bytes)
      .substr(start, static_cast<std::size_t>(data_->offsets[i + 1]) - start);
}

py::object StringColumn::at(Py_ssize_t index) const {
  const auto count = static_cast<Py_ssize_t>(size());
  if (index < 0) index += count;
  if (index < 0 || index >= count) throw py::index_error("there is no such row");
  const auto i = static_cast<std::size_t>(index);
  if (!isValid(i)) return py::none();
  return strOf(textAt(i));
}

py::list StringColumn::toList() const {
  py::list all;
  for (std::size_t i = 0; i < size(); ++i) all.append(at(static_cast<Py_ssize_t>(i)));
  return all;
}

py::tuple StringColumn::capsules(const py::object& /*requestedSchema*/) const {
  constexpr std::int64_t kNullable = 2;
  ArrowSchema schema{};
  schema.format = "U";
  schema.name = "domain";
  schema.flags = kNullable;
  schema.release = releaseSchema;
  py::capsule schemaCapsule = capsuleOf(schema, "arrow_schema");

  auto owner = std::make_unique<std::shared_ptr<Data>>(data_);
  Data& data = *data_;
  data.buffers[0] = data.valid.data();
  data.buffers[1] = data.offsets.data();
  data.buffers[2] = data.bytes.data();
  ArrowArray array{};
  array.length = static_cast<std::int64_t>(size());
  array.null_count = data.missing;
  array.n_buffers = 3;
  array.buffers = data.buffers;
  array.private_data = owner.get();
  array.release = [](ArrowArray* released) {
    delete static_cast<std::shared_ptr<Data>*>(released->private_data);
    released->release = nullptr;
  };
  py::capsule arrayCapsule = capsuleOf(array, "arrow_array");
  owner.release();
  return py::make_tuple(std::move(schemaCapsule), std::move(arrayCapsule));
}

}  // namespace vu::python
