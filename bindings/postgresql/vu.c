/* PostgreSQL's extension: the look-up as functions of SQL.
 *
 * Each backend has the table that the setting vu.suffixes names, opened by the first call that needs
 * it; preloaded, backends share the one that the postmaster has opened. It is looked at again when
 * the setting is made again, as every reload of the configuration does: in the postmaster at once, so
 * that the workers of a parallel query start from the list that sessions have. No user's files and no
 * environment are read: without the setting it is the system's table. */

/* clang-format off: the server's own header comes first, always */
#include "postgres.h"
/* clang-format on */

#include <sys/stat.h>

#include "access/parallel.h"
#include "fmgr.h"
#include "funcapi.h"
#include "miscadmin.h"
#include "utils/builtins.h"
#include "utils/guc.h"
#include "utils/timestamp.h"
#include <arpa/inet.h>
#include <vu/c.h>

PG_MODULE_MAGIC;

void _PG_init(void);

static char* tablePath = NULL; /* the setting */
static vu_table* table = NULL; /* what is open */
static struct stat tableFile;  /* the file that it came from */
static bool lookAgain = true;  /* whether the setting was made since */
static bool isPreloaded = false;

static const char* orSystems(const char* path) {
  return path != NULL && *path != '\0' ? path : vu_table_system_path();
}

static bool isSameFile(const struct stat* a, const struct stat* b) {
  return a->st_dev == b->st_dev && a->st_ino == b->st_ino && a->st_size == b->st_size &&
         a->st_mtim.tv_sec == b->st_mtim.tv_sec && a->st_mtim.tv_nsec == b->st_mtim.tv_nsec;
}

/* Opens the table at `path`, unless it is open. A table that does not open is told at
 * `level`; below ERROR the one that was open stays, if it is from the same path. */
static void openTable(const char* path, int failedFirst, int failedAgain) {
  char message[MAXPGPATH + 256];
  struct stat file;
  vu_table* fresh = NULL;
  const bool samePath = table != NULL && strcmp(vu_table_path(table), path) == 0;
  const bool there = stat(path, &file) == 0;
  if (samePath && there && isSameFile(&file, &tableFile)) {
    lookAgain = false;
    return;
  }
  if (vu_table_open(path, &fresh, message, sizeof message) != VU_OK) {
    lookAgain = !samePath;
    ereport(samePath ? failedAgain : failedFirst,
            (errcode(ERRCODE_CONFIG_FILE_ERROR), errmsg("vu: %s", message),
             errhint("The setting vu.suffixes names the file of the table.")));
    return;
  }
  vu_table_close(table);
  table = fresh;
  if (there) tableFile = file;
  lookAgain = false;
}

static void tablePathIsSet(const char* path, void* extra) {
  lookAgain = true;
  if (isPreloaded && !IsUnderPostmaster) openTable(orSystems(path), WARNING, WARNING);
}

void _PG_init(void) {
  isPreloaded = process_shared_preload_libraries_in_progress;
  DefineCustomStringVariable("vu.suffixes", "The file of the table of suffixes.",
                             "Empty: the system's.", &tablePath, "", PGC_SUSET, 0, NULL,
                             tablePathIsSet, NULL);
#if PG_VERSION_NUM >= 150000
  MarkGUCPrefixReserved("vu");
#endif
}

typedef struct Found {
  vu_text url;
  int rule;
  vu_record record;
} Found;

static int ruleOf(const text* match) {
  const char* name = VARDATA_ANY(match);
  const size_t size = VARSIZE_ANY_EXHDR(match);
  if (size == 8 && memcmp(name, "shortest", size) == 0) return VU_RULE_SERVICE;
  if (size == 13 && memcmp(name, "public-suffix", size) == 0) return VU_RULE_PUBLIC_SUFFIX;
  ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                  errmsg("vu: the match is 'shortest' or 'public-suffix'")));
}

static void needTable(void) {
  /* What fails again in a worker, its session has told. */
  if (unlikely(lookAgain)) {
    openTable(orSystems(tablePath), ERROR, IsParallelWorker() ? DEBUG1 : WARNING);
  }
}

static Found classify(FunctionCallInfo fcinfo) {
  Found found;
  const text* url = PG_GETARG_TEXT_PP(0);
  found.rule = ruleOf(PG_GETARG_TEXT_PP(1));
  needTable();
  found.url.data = VARDATA_ANY(url);
  found.url.size = VARSIZE_ANY_EXHDR(url);
  vu_classify(table, found.rule, found.url.data, found.url.size, &found.record,
              sizeof found.record);
  return found;
}

static Datum textOf(const char* start, size_t size) {
  return PointerGetDatum(cstring_to_text_with_len(start, (int)size));
}

/* What each function, and each field of vu_classify, makes of a result. */

static Datum status(const Found* found, bool* isNull) {
  return Int32GetDatum((int32)found->record.status);
}

static Datum reason(const Found* found, bool* isNull) {
  return CStringGetTextDatum(vu_status_text(found->record.status));
}

static Datum host(const Found* found, bool* isNull) {
  *isNull = found->record.status != 0 && found->record.host_length == 0;
  return *isNull ? 0
                 : textOf(found->url.data + found->record.host_start, found->record.host_length);
}

static Datum domain(const Found* found, bool* isNull) {
  *isNull = found->record.status != 0;
  return *isNull
             ? 0
             : textOf(found->url.data + found->record.domain_start, found->record.domain_length);
}

static Datum suffix(const Found* found, bool* isNull) {
  const vu_text suffix = vu_suffix(found->url.data, &found->record);
  *isNull = found->record.status != 0;
  return *isNull ? 0 : textOf(suffix.data, suffix.size);
}

/* The rule that decided, as it is listed. */
static Datum rule(const Found* found, bool* isNull) {
  static const char* const marks[] = {"", "*", "", "*.", "!"};
  vu_explanation why;
  vu_explain(table, found->rule, 0, found->url.data, found->url.size, &why, sizeof why);
  *isNull = why.rule == VU_KIND_NONE;
  return *isNull ? 0
                 : CStringGetTextDatum(psprintf("%s%.*s", marks[why.rule], (int)why.name.size,
                                                why.name.size != 0 ? why.name.data : ""));
}

static Datum address(const Found* found, bool* isNull) {
  char text[INET6_ADDRSTRLEN];
  const int family = found->record.kind == 2 ? AF_INET : found->record.kind == 3 ? AF_INET6 : 0;
  *isNull = family == 0;
  if (*isNull) return 0;
  inet_ntop(family, found->record.address, text, sizeof text);
  return DirectFunctionCall1(inet_in, CStringGetDatum(text));
}

typedef Datum (*Part)(const Found* found, bool* isNull);

static Datum partOf(FunctionCallInfo fcinfo, Part part) {
  const Found found = classify(fcinfo);
  bool isNull = false;
  const Datum result = part(&found, &isNull);
  if (isNull) PG_RETURN_NULL();
  return result;
}

PG_FUNCTION_INFO_V1(vu_status);
Datum vu_status(PG_FUNCTION_ARGS) { return partOf(fcinfo, status); }

PG_FUNCTION_INFO_V1(vu_reason);
Datum vu_reason(PG_FUNCTION_ARGS) { return partOf(fcinfo, reason); }

PG_FUNCTION_INFO_V1(vu_host);
Datum vu_host(PG_FUNCTION_ARGS) { return partOf(fcinfo, host); }

PG_FUNCTION_INFO_V1(vu_domain);
Datum vu_domain(PG_FUNCTION_ARGS) { return partOf(fcinfo, domain); }

PG_FUNCTION_INFO_V1(vu_suffix_sql);
Datum vu_suffix_sql(PG_FUNCTION_ARGS) { return partOf(fcinfo, suffix); }

PG_FUNCTION_INFO_V1(vu_rule_sql);
Datum vu_rule_sql(PG_FUNCTION_ARGS) { return partOf(fcinfo, rule); }

PG_FUNCTION_INFO_V1(vu_table_sql);
Datum vu_table_sql(PG_FUNCTION_ARGS) {
  needTable();
  return CStringGetTextDatum(vu_table_path(table));
}

static vu_table_description describe(void) {
  vu_table_description told;
  needTable();
  vu_table_describe(table, &told, sizeof told);
  return told;
}

PG_FUNCTION_INFO_V1(vu_table_version);
Datum vu_table_version(PG_FUNCTION_ARGS) {
  const vu_table_description told = describe();
  if (told.version.size == 0) PG_RETURN_NULL();
  return textOf(told.version.data, told.version.size);
}

PG_FUNCTION_INFO_V1(vu_table_made);
Datum vu_table_made(PG_FUNCTION_ARGS) {
  const vu_table_description told = describe();
  if (told.made < 0) PG_RETURN_NULL();
  PG_RETURN_TIMESTAMPTZ(time_t_to_timestamptz((pg_time_t)told.made));
}

PG_FUNCTION_INFO_V1(vu_classify_sql);
Datum vu_classify_sql(PG_FUNCTION_ARGS) {
  static const Part parts[] = {status, reason, host, domain, suffix, rule, address};
  Datum values[lengthof(parts)];
  bool isNull[lengthof(parts)];
  TupleDesc shape;
  const Found found = classify(fcinfo);
  if (get_call_result_type(fcinfo, NULL, &shape) != TYPEFUNC_COMPOSITE) {
    elog(ERROR, "vu_classify is called where no row fits");
  }
  for (int i = 0; i < (int)lengthof(parts); ++i) {
    isNull[i] = false;
    values[i] = parts[i](&found, &isNull[i]);
  }
  return HeapTupleGetDatum(heap_form_tuple(BlessTupleDesc(shape), values, isNull));
}
