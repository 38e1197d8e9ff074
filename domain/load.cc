#include "domain/load.h"

#include <algorithm>
#include <utility>

#include "domain/definition_file.h"
#include "domain/file_bytes.h"
#include "domain/suffix_list.h"
#include "domain/table_builder.h"
#include "vu/foundation.h"

namespace vu::detail {
namespace {

constexpr std::size_t kUsualRecord = 14;  // bytes

LoadedTable loadCompiled(BlockOwner block, std::size_t size, const std::string& name,
                         bool checksAll) {
  LoadedTable loaded;
  loaded.table = std::make_unique<SuffixTable>();
  std::string fault = loaded.table->adopt(std::move(block), size);
  if (fault.empty() && checksAll && !loaded.table->isIntact()) fault = "is damaged";
  if (!fault.empty()) loaded.error = "Suffix table [" + name + "] " + fault;
  loaded.maxLabels = static_cast<int>(
      std::min<std::uint32_t>(loaded.table->fact(header::kMaxLabels), kLongestToken));
  return loaded;
}

/// A block that a table has to itself.
LoadedTable loadBlock(std::string block, const std::string& name, bool checksAll) {
  const auto kept = std::make_shared<const std::string>(std::move(block));
  return loadCompiled(BlockOwner(kept, kept->data()), kept->size(), name, checksAll);
}

LoadedTable loadRecords(std::string_view bytes, bool whole) {
  DefinitionFile file(bytes, whole);
  TableBuilder builder;
  builder.reserve(bytes.size() / kUsualRecord);
  int maxLabels = 0;
  std::string error;
  while (!file.atEnd()) {
    if (!file.read()) {
      error = "Top level domain : Read Error at [" + val2str(builder.count() + 1) + "]-th record";
      break;
    }
    builder.add(file.token());
    maxLabels = std::max<int>(maxLabels, file.labels());
  }
  LoadedTable loaded = loadBlock(builder.finish({maxLabels, ""}), "", false);
  loaded.maxLabels = maxLabels;
  loaded.error = std::move(error);
  return loaded;
}

LoadedTable loadList(std::string_view bytes, const std::string& name) {
  SuffixList list(bytes);
  TableBuilder builder;
  builder.reserve(bytes.size() / (2 * kUsualRecord));  // half of a list are comments
  int maxLabels = 0;
  for (ListedRule rule; list.read(rule);) {
    builder.add(rule.text, rule.section);
    maxLabels = std::max(maxLabels, rule.labels);
  }
  LoadedTable loaded = loadBlock(builder.finish({maxLabels, list.info()}), "", false);
  if (!list.bad().empty()) {
    loaded.error = "Public Suffix List [" + name + "] line " + val2str(list.line()) +
                   " is no suffix rule: " + std::string(list.bad());
  } else if (builder.count() == 0) {
    loaded.error = "Public Suffix List [" + name + "] has no rules";
  }
  return loaded;
}

bool isCompiled(std::string_view bytes) {
  return bytes.substr(0, kTableMagic.size()) == kTableMagic;
}

LoadedTable loadText(const FileBytes& file, const std::string& name) {
  LoadedTable loaded = isSuffixList(file.bytes) ? loadList(file.bytes, name)
                                                : loadRecords(file.bytes, file.error == 0);
  loaded.changed = file.changed;
  return loaded;
}

}  // namespace

LoadedTable loadDefinition(const char* path) {
  const FileBytes file = readFileBytes(path);
  LoadedTable loaded = loadRecords(file.bytes, file.error == 0);
  loaded.changed = file.changed;
  return loaded;
}

LoadedTable loadAny(const char* path, bool checksAll) {
  MappedFile mapped = mapFileThatBegins(path, kTableMagic);
  if (mapped.bytes) {
    return loadCompiled(std::move(mapped.bytes), mapped.size, path, checksAll);
  }
  FileBytes file = readFileBytes(path);
  if (isCompiled(file.bytes)) return loadAny(std::move(file.bytes), std::string(path));
  if (file.error != 0 && isSuffixList(file.bytes)) {
    LoadedTable loaded;
    loaded.error = std::string("Public Suffix List [") + path + "] cannot be read whole";
    return loaded;
  }
  return loadText(file, path);
}

LoadedTable loadAny(std::string bytes, const std::string& name) {
  if (isCompiled(bytes)) return loadBlock(std::move(bytes), name, true);
  FileBytes file;
  file.bytes = std::move(bytes);
  return loadText(file, name);
}

}  // namespace vu::detail
