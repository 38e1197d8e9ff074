// vu hash: the library's hash values of numbers, texts and bytes.

#include "vu/hash.h"

#include <charconv>
#include <limits>
#include <memory>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/input.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/table.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

/// A number in decimal digits, or in hexadecimal ones behind "0x". Throws Refusal beyond `largest`.
unsigned long long parseNumber(std::string_view text, unsigned long long largest) {
  const bool hex = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  const std::string_view digits = text.substr(hex ? 2 : 0);
  const char* const end = digits.data() + digits.size();
  unsigned long long number = 0;
  const auto parsed = std::from_chars(digits.data(), end, number, hex ? 16 : 10);
  if (parsed.ec != std::errc() || parsed.ptr != end || number > largest) {
    throw Refusal("not a number from 0 to " + val2str(largest) + ": " + std::string(text));
  }
  return number;
}

unsigned int hashBytes(std::string_view bytes) {
  if (bytes.size() > std::numeric_limits<unsigned int>::max()) throw Refusal("a text is too long");
  return hashfunctor<unsigned char*>()(reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<unsigned int>(bytes.size()));
}

using Hash = unsigned int (*)(std::string_view);

unsigned int hash32(std::string_view value) {
  const auto largest = std::numeric_limits<unsigned int>::max();
  return hashfunctor<unsigned int>()(static_cast<unsigned int>(parseNumber(value, largest)));
}

unsigned int hash64(std::string_view value) {
  const auto largest = std::numeric_limits<unsigned long long>::max();
  return hashfunctor<unsigned long long>()(parseNumber(value, largest));
}

unsigned int hashHex(std::string_view value) {
  if (!isHex(value)) throw Refusal("not pairs of hexadecimal digits: " + std::string(value));
  return hashBytes(fromHex(value));
}

void appendRow(Buffer& out, const Table& table, Hash hash, std::string_view value) {
  const unsigned int result = hash(value);
  std::string digits;
  for (int shift = 28; shift >= 0; shift -= 4) digits += "0123456789abcdef"[result >> shift & 15];
  table.append(out, {digits, value});
}

struct HashOptions {
  Hash hash = nullptr;
  RowOptions rows;
  EntryEnd entryEnd = EntryEnd::line;
  std::vector<std::string> values;
};

void hashLines(const Table& table, Hash hash, EntryEnd end) {
  LineBlocks blocks("-", end);
  Buffer rows;
  unsigned long long number = 0;
  for (Buffer block; blocks.next(block); rows.clear()) {
    if (blocks.skipped() > 0) {
      throw Refusal("line " + val2str(number + 1) + " is too long: it has more than 64 MiB");
    }
    for (std::string_view lines = block.text(); !lines.empty();) {
      ++number;
      try {
        appendRow(rows, table, hash, takeLine(lines, end));
      } catch (const Refusal& refusal) {
        writeOut(rows.text());
        throw Refusal("line " + val2str(number) + ": " + refusal.what());
      }
    }
    writeOut(rows.text());
  }
}

void run(const HashOptions& options) {
  const Hash hash = options.hash != nullptr ? options.hash : hashBytes;
  const Table table({{"hash", 8}, {"value"}}, options.rows);
  Buffer row;
  table.appendTitles(row);
  writeOut(row.text());
  if (options.values.empty()) hashLines(table, hash, options.entryEnd);
  for (const std::string& value : options.values) {
    row.clear();
    appendRow(row, table, hash, value);
    writeOut(row.text());
  }
}

}  // namespace

void addHash(CLI::App& app) {
  auto options = std::make_shared<HashOptions>();
  CLI::App* command =
      app.add_subcommand("hash", "Print the 32-bit hash of numbers, texts or bytes");
  addOperands(*command, "VALUE", options->values,
              "What to hash, each by itself. Without any,\nstandard input is read, one a line");
  const struct {
    const char* name;
    Hash hash;
    const char* description;
  } kinds[] = {{"--text", hashBytes, "Texts, by Jenkins' lookup2 (default)"},
               {"--hex", hashHex, "Bytes in hexadecimal digits, by lookup2"},
               {"--u32", hash32, "32-bit numbers, decimal or 0x..., by Wang's mix"},
               {"--u64", hash64, "64-bit numbers, by Wang's 64-bit mix"}};
  for (const auto& kind : kinds) {
    const auto choose = [options, hash = kind.hash] {
      if (options->hash != nullptr) {
        throw CLI::ValidationError(
            "more than one kind of value; give one of --text, --hex, --u32 and --u64");
      }
      options->hash = hash;
    };
    command->add_flag_callback(kind.name, choose, kind.description);
  }
  addNull(*command, options->entryEnd);
  addRowOptions(*command, options->rows, "hash in hexadecimal digits, value");
  command->footer(
      "The first value that is not of the kind asked for ends the command.\n"
      "Exit status: 0 done, 1 something was refused, 2 wrong usage.");
  command->callback([options] { run(*options); });
}

}  // namespace vu::tool
