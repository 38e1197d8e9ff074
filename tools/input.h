// Reading: whole lines in blocks, or whole files.

#ifndef VU_TOOLS_INPUT_H_
#define VU_TOOLS_INPUT_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/buffer.h"
#include "tools/descriptor.h"

namespace vu::tool {

/// Reads a file in blocks of whole lines, as many as can be had without waiting, up to a
/// quarter of a megabyte: rows and lines of one block then fit into a core's own cache.
class LineBlocks {
 public:
  /// `path` names the file in messages and is opened by the constructor; "-" is standard input.
  explicit LineBlocks(const std::string& path);

  /// Puts the next block in place of `block`, each line with its line end; the last one may lack
  /// it. False at the end of the file. Throws Refusal, also for a line of 2 GiB or more.
  bool next(Buffer& block);

  /// Whether the last block was cut at its full size, so that more is likely to be there already.
  bool wasFull() const { return wasFull_; }

 private:
  bool readMore(Buffer& block);
  bool moreIsThere() const;

  std::string path_;
  Descriptor file_;
  Buffer rest_;
  bool atEnd_ = false;
  bool wasFull_ = false;
};

/// Cuts the first line off `block` and returns it without its line end, "\n" or "\r\n", which the
/// last line may lack.
inline std::string_view takeLine(std::string_view& block) {
  const std::size_t lineEnd = block.find('\n');
  std::string_view line = block.substr(0, lineEnd);
  block.remove_prefix(lineEnd == std::string_view::npos ? block.size() : lineEnd + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

/// Throws Refusal when `path` names a file that cannot be opened or is a directory.
void checkReadable(const std::string& path);

/// What a path is called in messages.
std::string displayName(const std::string& path);

/// The whole of a file, which may have 2 GiB less a byte; "-" is standard input. Throws Refusal.
std::string readFile(const std::string& path);

/// The first line of a file without its line end; what follows is not waited for. Throws Refusal.
std::string readFirstLine(const std::string& path);

/// Whether two paths lead to one pipe, terminal or the like, of which only one can have the bytes.
bool isSameStream(const std::string& path, const std::string& other);

}  // namespace vu::tool

#endif  // VU_TOOLS_INPUT_H_
