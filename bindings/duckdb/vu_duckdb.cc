// DuckDB's loadable extension, by its C interface for extensions: the look-up as functions of SQL,
// a vector of rows a call.
//
// A database has one table, opened by the first call that needs it, or by vu_table. Rows are
// classified by any number of threads, each with the table that was there when its vector began.

#define DUCKDB_EXTENSION_NAME vu
#include <duckdb_extension.h>

#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <vu/c.h>

DUCKDB_EXTENSION_EXTERN

namespace {

using Table = std::shared_ptr<vu_table>;

/// What the functions of one database share.
class Database {
 public:
  /// The table; where none is open yet, the one of VU_SUFFIXES or the system's. Null after a
  /// failure, with its text in `message`.
  Table table(std::string& message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!table_) open(nullptr, message);
    return table_;
  }

  /// Opens another table; a failure leaves the one before.
  Table replace(const std::string& path, std::string& message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return open(path.c_str(), message) ? table_ : nullptr;
  }

 private:
  bool open(const char* path, std::string& message) {
    char text[4096 + 256];
    vu_table* fresh = nullptr;
    if (vu_table_open(path, &fresh, text, sizeof text) != VU_OK) {
      message = text;
      return false;
    }
    table_.reset(fresh, vu_table_close);
    return true;
  }

  std::mutex mutex_;
  Table table_;
};

using Shared = std::shared_ptr<Database>;

/// A row and what it came to.
struct Found {
  const vu_table* table;
  int rule;
  vu_text url;
  vu_record record;
};

void setNull(duckdb_vector column, idx_t row) {
  duckdb_vector_ensure_validity_writable(column);
  duckdb_validity_set_row_invalid(duckdb_vector_get_validity(column), row);
}

void setText(duckdb_vector column, idx_t row, const char* start, size_t size) {
  duckdb_vector_assign_string_element_len(column, row, start, size);
}

// What each function, and each field of vu_classify, makes of a row.

void status(const Found& found, duckdb_vector column, idx_t row) {
  static_cast<std::int32_t*>(duckdb_vector_get_data(column))[row] =
      static_cast<std::int32_t>(found.record.status);
}

void reason(const Found& found, duckdb_vector column, idx_t row) {
  const char* const text = vu_status_text(found.record.status);
  setText(column, row, text, std::strlen(text));
}

void host(const Found& found, duckdb_vector column, idx_t row) {
  if (found.record.status != 0 && found.record.host_length == 0) return setNull(column, row);
  setText(column, row, found.url.data + found.record.host_start, found.record.host_length);
}

void domain(const Found& found, duckdb_vector column, idx_t row) {
  if (found.record.status != 0) return setNull(column, row);
  setText(column, row, found.url.data + found.record.domain_start, found.record.domain_length);
}

void suffix(const Found& found, duckdb_vector column, idx_t row) {
  if (found.record.status != 0) return setNull(column, row);
  const vu_text text = vu_suffix(found.url.data, &found.record);
  setText(column, row, text.data, text.size);
}

void rule(const Found& found, duckdb_vector column, idx_t row) {
  constexpr const char* kMarks[] = {"", "*", "", "*.", "!"};
  vu_explanation why;
  vu_explain(found.table, found.rule, 0, found.url.data, found.url.size, &why, sizeof why);
  if (why.rule == VU_KIND_NONE) return setNull(column, row);
  std::string text = kMarks[why.rule];
  if (why.name.size != 0) text.append(why.name.data, why.name.size);
  setText(column, row, text.data(), text.size());
}

void address(const Found& found, duckdb_vector column, idx_t row) {
  const int family = found.record.kind == 2 ? AF_INET : found.record.kind == 3 ? AF_INET6 : 0;
  if (family == 0) return setNull(column, row);
  char text[INET6_ADDRSTRLEN];
  inet_ntop(family, found.record.address, text, sizeof text);
  setText(column, row, text, std::strlen(text));
}

using Part = void (*)(const Found&, duckdb_vector, idx_t);

constexpr struct {
  const char* name;
  duckdb_type type;
  Part part;
} kFields[] = {{"status", DUCKDB_TYPE_INTEGER, status},  {"reason", DUCKDB_TYPE_VARCHAR, reason},
               {"host", DUCKDB_TYPE_VARCHAR, host},      {"domain", DUCKDB_TYPE_VARCHAR, domain},
               {"suffix", DUCKDB_TYPE_VARCHAR, suffix},  {"rule", DUCKDB_TYPE_VARCHAR, rule},
               {"address", DUCKDB_TYPE_VARCHAR, address}};

void all(const Found& found, duckdb_vector column, idx_t row) {
  for (idx_t i = 0; i < std::size(kFields); ++i) {
    kFields[i].part(found, duckdb_struct_vector_get_child(column, i), row);
  }
}

/// A NULL; of a record its fields are told to be none, too.
void setNone(Part part, duckdb_vector column, idx_t row) {
  setNull(column, row);
  if (part != all) return;
  for (idx_t i = 0; i < std::size(kFields); ++i) {
    setNull(duckdb_struct_vector_get_child(column, i), row);
  }
}

/// The texts of a column, those of NULL without data.
class Texts {
 public:
  explicit Texts(duckdb_vector column)
      : texts_(static_cast<duckdb_string_t*>(duckdb_vector_get_data(column))),
        valid_(duckdb_vector_get_validity(column)) {}

  vu_text at(idx_t row) const {
    if (valid_ != nullptr && !duckdb_validity_row_is_valid(valid_, row)) return {nullptr, 0};
    return {duckdb_string_t_data(&texts_[row]), duckdb_string_t_length(texts_[row])};
  }

 private:
  duckdb_string_t* texts_;
  std::uint64_t* valid_;
};

bool ruleOf(vu_text match, int& rule) {
  const std::string name(match.data, match.size);
  rule = name == "public-suffix" ? VU_RULE_PUBLIC_SUFFIX : VU_RULE_SERVICE;
  return rule == VU_RULE_PUBLIC_SUFFIX || name == "shortest";
}

Database& databaseOf(duckdb_function_info info) {
  return **static_cast<Shared*>(duckdb_scalar_function_get_extra_info(info));
}

/// Sets what `part` makes of each row; NULL for a NULL of either argument. The message is empty
/// when all is well.
std::string fill(Database& database, duckdb_data_chunk rows, duckdb_vector results, Part part) {
  Table table;
  const bool hasMatch = duckdb_data_chunk_get_column_count(rows) > 1;
  const Texts urls(duckdb_data_chunk_get_vector(rows, 0));
  const Texts matches(duckdb_data_chunk_get_vector(rows, hasMatch ? 1 : 0));
  Found found{nullptr, VU_RULE_SERVICE, {}, {}};
  for (idx_t row = 0; row < duckdb_data_chunk_get_size(rows); ++row) {
    found.url = urls.at(row);
    const vu_text match = matches.at(row);
    if (found.url.data == nullptr || match.data == nullptr) {
      setNone(part, results, row);
      continue;
    }
    if (!table) {
      std::string message;
      table = database.table(message);
      if (!table) return message;
      found.table = table.get();
    }
    if (hasMatch && !ruleOf(match, found.rule))
      return "vu: the match is 'shortest' or 'public-suffix'";
    vu_classify(found.table, found.rule, found.url.data, found.url.size, &found.record,
                sizeof found.record);
    part(found, results, row);
  }
  return {};
}

/// Opens the tables that the rows name, or tells which one is open.
std::string fillTables(Database& database, duckdb_data_chunk rows, duckdb_vector results) {
  const bool opens = duckdb_data_chunk_get_column_count(rows) > 0;
  for (idx_t row = 0; row < duckdb_data_chunk_get_size(rows); ++row) {
    std::string message;
    const vu_text path = opens ? Texts(duckdb_data_chunk_get_vector(rows, 0)).at(row) : vu_text{};
    const Table table = path.data == nullptr
                            ? database.table(message)
                            : database.replace(std::string(path.data, path.size), message);
    if (!table) return message;
    const char* const name = vu_table_path(table.get());
    setText(results, row, name, std::strlen(name));
  }
  return {};
}

/// What the open table tells of itself; NULL where it does not.
void version(const vu_table_description& told, duckdb_vector column, idx_t row) {
  if (told.version.size == 0) return setNull(column, row);
  setText(column, row, told.version.data, told.version.size);
}

void made(const vu_table_description& told, duckdb_vector column, idx_t row) {
  if (told.made < 0) return setNull(column, row);
  static_cast<std::int64_t*>(duckdb_vector_get_data(column))[row] = told.made;
}

using Fact = void (*)(const vu_table_description&, duckdb_vector, idx_t);

std::string fillFacts(Database& database, duckdb_data_chunk rows, duckdb_vector results,
                      Fact fact) {
  std::string message;
  const Table table = database.table(message);
  if (!table) return message;
  vu_table_description told;
  vu_table_describe(table.get(), &told, sizeof told);
  for (idx_t row = 0; row < duckdb_data_chunk_get_size(rows); ++row) fact(told, results, row);
  return {};
}

/// No exception crosses into the engine.
template <typename Fill>
void guarded(duckdb_function_info info, Fill fillRows) {
  try {
    const std::string message = fillRows(databaseOf(info));
    if (!message.empty()) duckdb_scalar_function_set_error(info, message.c_str());
  } catch (const std::exception&) {
    duckdb_scalar_function_set_error(info, "vu: out of memory");
  }
}

template <Part part>
void function(duckdb_function_info info, duckdb_data_chunk rows, duckdb_vector results) {
  guarded(info, [&](Database& database) { return fill(database, rows, results, part); });
}

template <Fact fact>
void facts(duckdb_function_info info, duckdb_data_chunk rows, duckdb_vector results) {
  guarded(info, [&](Database& database) { return fillFacts(database, rows, results, fact); });
}

void tables(duckdb_function_info info, duckdb_data_chunk rows, duckdb_vector results) {
  guarded(info, [&](Database& database) { return fillTables(database, rows, results); });
}

// ---------------------------------------------------------------------------------------------

/// Registers functions for one database.
class Registrar {
 public:
  explicit Registrar(duckdb_connection connection) : connection_(connection) {}
  Registrar(const Registrar&) = delete;
  Registrar& operator=(const Registrar&) = delete;
  ~Registrar() { duckdb_destroy_logical_type(&text_); }

  /// The overloads of a function, with `least` to `most` texts as arguments. Takes `type` away.
  bool add(const char* name, duckdb_logical_type type, duckdb_scalar_function_t call, int least,
           int most, bool isVolatile) {
    duckdb_scalar_function_set overloads = duckdb_create_scalar_function_set(name);
    for (int count = least; count <= most; ++count) {
      duckdb_scalar_function each = duckdb_create_scalar_function();
      duckdb_scalar_function_set_name(each, name);
      for (int i = 0; i < count; ++i) duckdb_scalar_function_add_parameter(each, text_);
      duckdb_scalar_function_set_return_type(each, type);
      duckdb_scalar_function_set_special_handling(each);  // NULLs come to the function
      if (isVolatile) duckdb_scalar_function_set_volatile(each);
      duckdb_scalar_function_set_extra_info(
          each, new Shared(database_), [](void* shared) { delete static_cast<Shared*>(shared); });
      duckdb_scalar_function_set_function(each, call);
      duckdb_add_scalar_function_to_set(overloads, each);
      duckdb_destroy_scalar_function(&each);
    }
    const bool added = duckdb_register_scalar_function_set(connection_, overloads) == DuckDBSuccess;
    duckdb_destroy_scalar_function_set(&overloads);
    duckdb_destroy_logical_type(&type);
    return added;
  }

  bool add(const char* name, duckdb_type type, duckdb_scalar_function_t call) {
    return add(name, duckdb_create_logical_type(type), call, 1, 2, false);
  }

 private:
  duckdb_connection connection_;
  Shared database_ = std::make_shared<Database>();
  duckdb_logical_type text_ = duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR);
};

duckdb_logical_type typeOfAll() {
  duckdb_logical_type types[std::size(kFields)];
  const char* names[std::size(kFields)];
  for (std::size_t i = 0; i < std::size(kFields); ++i) {
    types[i] = duckdb_create_logical_type(kFields[i].type);
    names[i] = kFields[i].name;
  }
  duckdb_logical_type made = duckdb_create_struct_type(types, names, std::size(kFields));
  for (duckdb_logical_type& each : types) duckdb_destroy_logical_type(&each);
  return made;
}

}  // namespace

DUCKDB_EXTENSION_ENTRYPOINT(duckdb_connection connection, duckdb_extension_info info,
                            struct duckdb_extension_access* access) {
  Registrar functions(connection);
  const bool added =
      functions.add("vu_status", DUCKDB_TYPE_INTEGER, function<status>) &&
      functions.add("vu_reason", DUCKDB_TYPE_VARCHAR, function<reason>) &&
      functions.add("vu_host", DUCKDB_TYPE_VARCHAR, function<host>) &&
      functions.add("vu_domain", DUCKDB_TYPE_VARCHAR, function<domain>) &&
      functions.add("vu_suffix", DUCKDB_TYPE_VARCHAR, function<suffix>) &&
      functions.add("vu_rule", DUCKDB_TYPE_VARCHAR, function<rule>) &&
      functions.add("vu_classify", typeOfAll(), function<all>, 1, 2, false) &&
      functions.add("vu_table", duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR), tables, 0, 1,
                    true) &&
      functions.add("vu_table_version", duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR),
                    facts<version>, 0, 0, true) &&
      functions.add("vu_table_made", duckdb_create_logical_type(DUCKDB_TYPE_BIGINT), facts<made>, 0,
                    0, true);
  if (!added) access->set_error(info, "vu: the functions are there already");
  return added;
}
