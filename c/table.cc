// Opening a table for C: finding it, and turning every failure into a code and a message.

#include "c/table.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "vu/c.h"
#include "vu/version.h"

namespace {

/// Made by the packages at their installation.
constexpr char kSystemTable[] = "/var/lib/libvu/suffixes.vut";

/// The path that is meant by `path`; "" where there is no table.
std::string pathOf(const char* path) {
  if (path != nullptr && *path != '\0') return path;
  const char* const named = std::getenv("VU_SUFFIXES");
  if (named != nullptr && *named != '\0') return named;
  const char* const ofSystem = vu_table_system_path();
  return access(ofSystem, F_OK) == 0 ? ofSystem : "";
}

int fail(int code, const char* text, char* message, size_t size) noexcept {
  if (message != nullptr && size != 0) {
    const size_t length = std::min(std::strlen(text), size - 1);
    std::memcpy(message, text, length);
    message[length] = '\0';
  }
  return code;
}

/// As the failure has it, behind the path where that is not in it.
std::string explained(const std::string& path, const std::string& failure) {
  return failure.find(path) != std::string::npos ? failure : path + ": " + failure;
}

/// Opens a table by `open`, which says false where there is none to open.
template <typename Open>
int openInto(vu_table** table, char* message, size_t size, Open open) noexcept {
  if (table == nullptr) {
    return fail(VU_ERROR_ARGUMENT, vu_code_text(VU_ERROR_ARGUMENT), message, size);
  }
  *table = nullptr;
  try {
    auto opened = std::make_unique<vu_table>();
    try {
      if (!open(*opened)) {
        const std::string none =
            "No table of suffixes: no path was given, VU_SUFFIXES is not set, and there is no ";
        return fail(VU_ERROR_NOT_FOUND, (none + kSystemTable).c_str(), message, size);
      }
    } catch (const vu_exception& failure) {
      return fail(VU_ERROR_TABLE, explained(opened->path, failure.what()).c_str(), message, size);
    }
    opened->facts = opened->suffixes.facts();
    *table = opened.release();
    return VU_OK;
  } catch (const std::exception&) {
    return fail(VU_ERROR_MEMORY, vu_code_text(VU_ERROR_MEMORY), message, size);
  }
}

}  // namespace

const char* vu_library_version() { return vu_version; }

const char* vu_code_text(int code) {
  switch (code) {
    case VU_OK:
      return "All is well";
    case VU_ERROR_ARGUMENT:
      return "An argument is null, too small or unknown";
    case VU_ERROR_MEMORY:
      return "Out of memory";
    case VU_ERROR_NOT_FOUND:
      return "There is no table of suffixes";
    case VU_ERROR_TABLE:
      return "The table of suffixes cannot be read";
    default:
      return "unknown code";
  }
}

const char* vu_status_text(uint32_t status) { return statusText(status); }

const char* vu_table_system_path() { return kSystemTable; }

int vu_table_open(const char* path, vu_table** table, char* message, size_t message_size) {
  return openInto(table, message, message_size, [=](vu_table& opened) {
    opened.path = pathOf(path);
    if (opened.path.empty()) return false;
    opened.suffixes.open(opened.path.c_str());
    struct stat file {};
    if (stat(opened.path.c_str(), &file) == 0) opened.changed = file.st_mtime;
    return true;
  });
}

int vu_table_open_bytes(const void* bytes, size_t size, const char* name, vu_table** table,
                        char* message, size_t message_size) {
  if (bytes == nullptr && size != 0) {
    if (table != nullptr) *table = nullptr;
    return fail(VU_ERROR_ARGUMENT, vu_code_text(VU_ERROR_ARGUMENT), message, message_size);
  }
  return openInto(table, message, message_size, [=](vu_table& opened) {
    opened.path = name != nullptr ? name : "";
    std::string copy;
    if (size != 0) copy.assign(static_cast<const char*>(bytes), size);
    opened.suffixes.openBytes(std::move(copy), opened.path);
    return true;
  });
}

void vu_table_close(vu_table* table) { delete table; }

const char* vu_table_path(const vu_table* table) {
  return table != nullptr ? table->path.c_str() : "";
}

uint64_t vu_table_rules(const vu_table* table) {
  return table != nullptr ? static_cast<uint64_t>(table->suffixes.suffixCount()) : 0;
}
