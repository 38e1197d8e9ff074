// Reading and writing files for the commands: whole lines in blocks, output whose every failure is
// noticed, and files that appear complete or not at all.

#ifndef VU_TOOLS_FILES_H_
#define VU_TOOLS_FILES_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace vu::tool {

/// Thrown when whoever reads our output has gone away: not a failure.
struct ReaderGone {};

/// A file descriptor, closed with the object unless it is standard input.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  int number() const { return number_; }

 private:
  int number_;
};

/// Reads a file in blocks of whole lines, as many as can be had without waiting, about a megabyte.
class LineBlocks {
 public:
  /// `path` names the file in messages and is opened by the constructor; "-" is standard input.
  explicit LineBlocks(const std::string& path);

  /// Puts the next block into `block`, each line with its line end; the last one may lack it. False
  /// at the end of the file. Throws Refusal.
  bool next(std::string& block);

  /// Whether the last block was cut at its full size, so that more is likely to be there already.
  bool wasFull() const { return wasFull_; }

 private:
  bool readMore(std::string& block);
  bool moreIsThere() const;

  std::string path_;
  Descriptor file_;
  std::string rest_;
  bool atEnd_ = false;
  bool wasFull_ = false;
};

/// Cuts the first line off `block` and returns it without its line end, "\n" or "\r\n", which the last
/// line may lack.
std::string_view takeLine(std::string_view& block);

/// Throws Refusal when `path` names a file that cannot be opened or is a directory.
void checkReadable(const std::string& path);

/// Writes all of `text` to standard output. Throws ReaderGone or Refusal.
void writeOut(std::string_view text);

/// Makes the file at `path` anew with `text`: beside it first, then in its place in one step, so
/// that a failure leaves what was there. A path that is not a regular file is written directly.
/// Throws Refusal.
void replaceFile(const std::string& path, std::string_view text);

/// The same for a file that must not be there yet, and is refused when it is.
void createFile(const std::string& path, std::string_view text);

/// Throws Refusal when `createFile` would refuse the path for what is there.
void checkNew(const std::string& path);

/// What a path is called in messages.
std::string displayName(const std::string& path);

/// The whole of a file; "-" is standard input. Throws Refusal.
std::string readFile(const std::string& path);

}  // namespace vu::tool

#endif  // VU_TOOLS_FILES_H_
