// SQLite's loadable extension: the look-up as functions of SQL.
//
// A connection has its own table, opened by the first call that needs it, or by vu_table. The
// functions are deterministic as long as that stays the same.

#include <sqlite3ext.h>

#include <cstring>
#include <iterator>
#include <memory>
#include <new>

#include <arpa/inet.h>
#include <vu/c.h>

SQLITE_EXTENSION_INIT1

namespace {

/// What the functions of one connection share.
struct Connection {
  vu_table* table = nullptr;
  int users = 0;

  ~Connection() { vu_table_close(table); }
};

void release(void* connection) {
  auto* const shared = static_cast<Connection*>(connection);
  if (--shared->users == 0) delete shared;
}

/// Opens what is not open yet. The message is SQLite's to free; null when all is well.
char* open(Connection& connection, const char* path) {
  char message[4096 + 256];
  vu_table* fresh = nullptr;
  if (vu_table_open(path, &fresh, message, sizeof message) != VU_OK) {
    return sqlite3_mprintf("%s", message);
  }
  vu_table_close(connection.table);
  connection.table = fresh;
  return nullptr;
}

bool ruleOf(sqlite3_value* match, int& rule) {
  const auto* const name = reinterpret_cast<const char*>(sqlite3_value_text(match));
  if (name == nullptr) return false;
  rule = std::strcmp(name, "public-suffix") == 0 ? VU_RULE_PUBLIC_SUFFIX : VU_RULE_SERVICE;
  return rule == VU_RULE_PUBLIC_SUFFIX || std::strcmp(name, "shortest") == 0;
}

/// A URL and what it came to.
struct Found {
  const vu_table* table;
  int rule;
  vu_text url{nullptr, 0};  ///< No text for NULL, which comes to nothing.
  vu_record record;
};

/// Classifies values[0] by the rule that values[1] names, if there is one. The message is SQLite's
/// to free; null when all is well.
char* classify(Connection& connection, int count, sqlite3_value** values, Found& found) {
  found.url = {nullptr, 0};
  const int type = sqlite3_value_type(values[0]);
  if (type == SQLITE_NULL) return nullptr;
  found.rule = VU_RULE_SERVICE;
  if (count > 1 && !ruleOf(values[1], found.rule)) {
    return sqlite3_mprintf("vu: the match is 'shortest' or 'public-suffix'");
  }
  if (connection.table == nullptr) {
    char* const failure = open(connection, nullptr);
    if (failure != nullptr) return failure;
  }
  // A value that is no text is read as SQLite reads any number or blob where text is wanted.
  const void* const bytes =
      type == SQLITE_BLOB ? sqlite3_value_blob(values[0]) : sqlite3_value_text(values[0]);
  const auto size = static_cast<size_t>(sqlite3_value_bytes(values[0]));
  if (bytes == nullptr && size != 0) return sqlite3_mprintf("out of memory");
  found.table = connection.table;
  found.url = {bytes != nullptr ? static_cast<const char*>(bytes) : "", size};
  vu_classify(found.table, found.rule, found.url.data, size, &found.record, sizeof found.record);
  return nullptr;
}

void setText(sqlite3_context* context, const char* start, size_t size) {
  sqlite3_result_text64(context, start, size, SQLITE_TRANSIENT, SQLITE_UTF8);
}

// What each function, and each column of the table, makes of a result; NULL when it makes nothing.

void status(sqlite3_context* context, const Found& found) {
  sqlite3_result_int64(context, found.record.status);
}

void reason(sqlite3_context* context, const Found& found) {
  sqlite3_result_text(context, vu_status_text(found.record.status), -1, SQLITE_STATIC);
}

void host(sqlite3_context* context, const Found& found) {
  if (found.record.status != 0 && found.record.host_length == 0) return;
  setText(context, found.url.data + found.record.host_start, found.record.host_length);
}

void domain(sqlite3_context* context, const Found& found) {
  if (found.record.status != 0) return;
  setText(context, found.url.data + found.record.domain_start, found.record.domain_length);
}

void suffix(sqlite3_context* context, const Found& found) {
  if (found.record.status != 0) return;
  const vu_text text = vu_suffix(found.url.data, &found.record);
  setText(context, text.data, text.size);
}

/// The rule that decided, as it is listed.
void rule(sqlite3_context* context, const Found& found) {
  vu_explanation why;
  vu_explain(found.table, found.rule, 0, found.url.data, found.url.size, &why, sizeof why);
  if (why.rule == VU_KIND_NONE) return;
  constexpr const char* kMarks[] = {"", "*", "", "*.", "!"};
  char* const text = sqlite3_mprintf("%s%.*s", kMarks[why.rule], static_cast<int>(why.name.size),
                                     why.name.size != 0 ? why.name.data : "");
  if (text == nullptr) {
    sqlite3_result_error_nomem(context);
  } else {
    sqlite3_result_text(context, text, -1, sqlite3_free);
  }
}

void address(sqlite3_context* context, const Found& found) {
  const int family = found.record.kind == 2 ? AF_INET : found.record.kind == 3 ? AF_INET6 : 0;
  if (family == 0) return;
  char text[INET6_ADDRSTRLEN];
  inet_ntop(family, found.record.address, text, sizeof text);
  sqlite3_result_text(context, text, -1, SQLITE_TRANSIENT);
}

using Part = void (*)(sqlite3_context*, const Found&);

template <Part part>
void function(sqlite3_context* context, int count, sqlite3_value** values) {
  Found found;
  char* const failure =
      classify(*static_cast<Connection*>(sqlite3_user_data(context)), count, values, found);
  if (failure != nullptr) {
    sqlite3_result_error(context, failure, -1);
    sqlite3_free(failure);
    return;
  }
  if (found.url.data != nullptr) part(context, found);
}

/// Opens a table if none is open, or `anyway`; otherwise sets the error.
bool isOpen(sqlite3_context* context, Connection& connection, const char* path, bool anyway) {
  if (!anyway && connection.table != nullptr) return true;
  char* const failure = open(connection, path);
  if (failure == nullptr) return true;
  sqlite3_result_error(context, failure, -1);
  sqlite3_free(failure);
  return false;
}

/// vu_table(path) opens another table, vu_table() says which one is open.
void table(sqlite3_context* context, int count, sqlite3_value** values) {
  auto& connection = *static_cast<Connection*>(sqlite3_user_data(context));
  const auto* const path =
      count == 1 ? reinterpret_cast<const char*>(sqlite3_value_text(values[0])) : nullptr;
  if (!isOpen(context, connection, path, count == 1)) return;
  sqlite3_result_text(context, vu_table_path(connection.table), -1, SQLITE_TRANSIENT);
}

/// What the open table tells of itself; NULL where it does not.
void version(sqlite3_context* context, const vu_table_description& told) {
  if (told.version.size == 0) return;
  sqlite3_result_text64(context, told.version.data, told.version.size, SQLITE_TRANSIENT,
                        SQLITE_UTF8);
}

void made(sqlite3_context* context, const vu_table_description& told) {
  if (told.made >= 0) sqlite3_result_int64(context, told.made);
}

template <void (*part)(sqlite3_context*, const vu_table_description&)>
void description(sqlite3_context* context, int /*count*/, sqlite3_value** /*values*/) {
  auto& connection = *static_cast<Connection*>(sqlite3_user_data(context));
  if (!isOpen(context, connection, nullptr, false)) return;
  vu_table_description told;
  vu_table_describe(connection.table, &told, sizeof told);
  part(context, told);
}

// ---------------------------------------------------------------------------------------------
// vu_classify(url [, match]): all parts as the columns of one row

constexpr Part kColumns[] = {status, reason, host, domain, suffix, rule, address};
constexpr int kUrl = std::size(kColumns);

struct Module : sqlite3_vtab {
  Connection* connection;
};

struct Cursor : sqlite3_vtab_cursor {
  sqlite3_value* url = nullptr;
  Found found;
  bool done = true;

  ~Cursor() { sqlite3_value_free(url); }
};

int connect(sqlite3* database, void* connection, int /*count*/, const char* const* /*arguments*/,
            sqlite3_vtab** made, char** /*message*/) {
  const int code = sqlite3_declare_vtab(
      database,
      "CREATE TABLE x(status INTEGER, reason TEXT, host TEXT, domain TEXT, suffix TEXT, "
      "rule TEXT, address TEXT, url HIDDEN, match HIDDEN)");
  if (code != SQLITE_OK) return code;
  sqlite3_vtab_config(database, SQLITE_VTAB_INNOCUOUS);
  auto* const module = new (std::nothrow) Module{};
  if (module == nullptr) return SQLITE_NOMEM;
  module->connection = static_cast<Connection*>(connection);
  *made = module;
  return SQLITE_OK;
}

int disconnect(sqlite3_vtab* module) {
  delete static_cast<Module*>(module);
  return SQLITE_OK;
}

/// The arguments are needed as equalities with the hidden columns, the URL first.
int bestIndex(sqlite3_vtab* /*module*/, sqlite3_index_info* info) {
  int byColumn[] = {-1, -1};
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    if (constraint.iColumn < kUrl || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
    if (constraint.usable == 0) return SQLITE_CONSTRAINT;
    byColumn[constraint.iColumn - kUrl] = i;
  }
  int arguments = 0;
  for (const int i : byColumn) {
    if (i < 0) continue;
    info->aConstraintUsage[i].argvIndex = ++arguments;
    info->aConstraintUsage[i].omit = 1;
  }
  info->idxNum = byColumn[0] < 0 ? 0 : arguments;  // without a URL: no row
  info->estimatedCost = 1;
  info->estimatedRows = 1;
  return SQLITE_OK;
}

int openCursor(sqlite3_vtab* /*module*/, sqlite3_vtab_cursor** made) {
  auto* const cursor = new (std::nothrow) Cursor();
  *made = cursor;
  return cursor != nullptr ? SQLITE_OK : SQLITE_NOMEM;
}

int closeCursor(sqlite3_vtab_cursor* cursor) {
  delete static_cast<Cursor*>(cursor);
  return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* opened, int arguments, const char* /*name*/, int /*count*/,
           sqlite3_value** values) {
  auto* const cursor = static_cast<Cursor*>(opened);
  cursor->done = true;
  if (arguments == 0) return SQLITE_OK;
  sqlite3_value_free(cursor->url);
  cursor->url = sqlite3_value_dup(values[0]);
  if (cursor->url == nullptr) return SQLITE_NOMEM;
  sqlite3_value* ours[] = {cursor->url, arguments > 1 ? values[1] : nullptr};
  auto* const module = static_cast<Module*>(cursor->pVtab);
  char* const failure = classify(*module->connection, arguments, ours, cursor->found);
  if (failure != nullptr) {
    sqlite3_free(module->zErrMsg);
    module->zErrMsg = failure;
    return SQLITE_ERROR;
  }
  cursor->done = cursor->found.url.data == nullptr;
  return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor) {
  static_cast<Cursor*>(cursor)->done = true;
  return SQLITE_OK;
}

int atEnd(sqlite3_vtab_cursor* cursor) { return static_cast<Cursor*>(cursor)->done ? 1 : 0; }

int column(sqlite3_vtab_cursor* opened, sqlite3_context* context, int number) {
  const auto* const cursor = static_cast<Cursor*>(opened);
  if (number < kUrl) {
    kColumns[number](context, cursor->found);
  } else if (number == kUrl) {
    sqlite3_result_value(context, cursor->url);
  }
  return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor* /*cursor*/, sqlite3_int64* number) {
  *number = 1;
  return SQLITE_OK;
}

const sqlite3_module* module() {
  static const sqlite3_module methods = [] {
    sqlite3_module made{};
    made.xConnect = connect;  // and no xCreate: it is there without CREATE VIRTUAL TABLE
    made.xBestIndex = bestIndex;
    made.xDisconnect = disconnect;
    made.xOpen = openCursor;
    made.xClose = closeCursor;
    made.xFilter = filter;
    made.xNext = next;
    made.xEof = atEnd;
    made.xColumn = column;
    made.xRowid = rowid;
    return made;
  }();
  return &methods;
}

// ---------------------------------------------------------------------------------------------

using Function = void (*)(sqlite3_context*, int, sqlite3_value**);

constexpr int kPure = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
/// Reads a file of the caller's choice, which no view or trigger may.
constexpr int kDirect = SQLITE_UTF8 | SQLITE_DIRECTONLY;

constexpr struct {
  const char* name;
  int arguments;
  int flags;
  Function call;
} kFunctions[] = {
    {"vu_status", 1, kPure, function<status>},
    {"vu_status", 2, kPure, function<status>},
    {"vu_reason", 1, kPure, function<reason>},
    {"vu_reason", 2, kPure, function<reason>},
    {"vu_host", 1, kPure, function<host>},
    {"vu_host", 2, kPure, function<host>},
    {"vu_domain", 1, kPure, function<domain>},
    {"vu_domain", 2, kPure, function<domain>},
    {"vu_suffix", 1, kPure, function<suffix>},
    {"vu_suffix", 2, kPure, function<suffix>},
    {"vu_rule", 1, kPure, function<rule>},
    {"vu_rule", 2, kPure, function<rule>},
    {"vu_table", 0, kDirect, table},
    {"vu_table", 1, kDirect, table},
    {"vu_table_version", 0, kDirect, description<version>},
    {"vu_table_made", 0, kDirect, description<made>},
};

}  // namespace

/// What SQLite looks for in libsqlite3-mod-vu.so and in vu.so.
extern "C" [[gnu::visibility("default")]] int sqlite3_extension_init(
    sqlite3* database, char** message, const sqlite3_api_routines* api) {
  SQLITE_EXTENSION_INIT2(api)
  static_cast<void>(message);
  auto* const connection = new (std::nothrow) Connection();
  if (connection == nullptr) return SQLITE_NOMEM;
  // SQLite calls `release` also where it registers nothing.
  connection->users = 1;
  int code = SQLITE_OK;
  for (const auto& each : kFunctions) {
    if (code != SQLITE_OK) break;
    ++connection->users;
    code = sqlite3_create_function_v2(database, each.name, each.arguments, each.flags, connection,
                                      each.call, nullptr, nullptr, release);
  }
  if (code == SQLITE_OK) {
    ++connection->users;
    code = sqlite3_create_module_v2(database, "vu_classify", module(), connection, release);
  }
  release(connection);
  return code;
}
