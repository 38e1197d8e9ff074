#include "tools/input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "tools/command.h"
#include "tools/messages.h"

namespace vu::tool {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 17;
constexpr std::size_t kLongest = INT_MAX;  // of a file that is read whole

int openOrStandardInput(const std::string& path) {
  if (path == "-") {
    if (isatty(STDIN_FILENO) == 1) say("reading what you type; end with Ctrl-D");
    return STDIN_FILENO;
  }
  const int number = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (number < 0) refuse("cannot open " + path);
  return number;
}

/// What a path leads to; false when that cannot be told.
bool statusOf(const std::string& path, struct stat& status) {
  return (path == "-" ? fstat(STDIN_FILENO, &status) : stat(path.c_str(), &status)) == 0;
}

/// Adds what one read gives to `bytes`; false at the end of the file.
bool readSome(const Descriptor& file, const std::string& name, std::size_t wanted, Buffer& bytes) {
  char* const room = bytes.room(wanted);
  ssize_t got = 0;
  do {
    got = read(file.number(), room, wanted);
  } while (got < 0 && shouldTryAgain(file.number(), POLLIN));
  if (got < 0) refuse("cannot read " + name);
  bytes.setEnd(room + got);
  return got > 0;
}

}  // namespace

std::string displayName(const std::string& path) { return path == "-" ? "standard input" : path; }

LineBlocks::LineBlocks(const std::string& path, EntryEnd end)
    : path_(displayName(path)), file_(openOrStandardInput(path)), end_(static_cast<char>(end)) {}

bool LineBlocks::next(Buffer& block) {
  block.clear();
  block += rest_.text();
  rest_.clear();
  skipped_ = 0;
  std::size_t lines = 0;  // the bytes of whole lines
  std::size_t searched = 0;
  do {
    const std::size_t lineEnd = block.text().substr(searched).rfind(end_);
    if (lineEnd != std::string_view::npos) lines = searched + lineEnd + 1;
    searched = block.size();
  } while (!atEnd_ && block.size() <= kLongestEntry &&
           (lines == 0 || (block.size() < kBlock && moreIsThere())) && readMore(block));
  wasFull_ = block.size() >= kBlock;
  if (block.text().substr(0, kLongestEntry + 1).find(end_) == std::string_view::npos &&
      block.size() > kLongestEntry) {
    skipEntry(block);
    return true;
  }
  if (atEnd_) return block.size() > 0;
  rest_ += block.text().substr(lines);
  block.truncate(lines);
  return true;
}

/// Reads on to the end of an entry that is too long, of which `block` is the beginning.
void LineBlocks::skipEntry(Buffer& block) {
  std::size_t end = block.text().find(end_);
  while (end == std::string_view::npos) {
    skipped_ += block.size();
    block.truncate(0);
    if (!readMore(block)) break;
    end = block.text().find(end_);
  }
  if (end != std::string_view::npos) {
    skipped_ += end;
    rest_ += block.text().substr(end + 1);
  }
  block.clear();
}

bool LineBlocks::readMore(Buffer& block) {
  // A block that is full goes on only when it is the beginning of a long line.
  const std::size_t wanted = block.size() < kBlock ? kBlock - block.size() : kBlock;
  atEnd_ = !readSome(file_, path_, wanted, block);
  return !atEnd_;
}

bool LineBlocks::moreIsThere() const {
  pollfd waiting{file_.number(), POLLIN, 0};
  return poll(&waiting, 1, 0) > 0;
}

void checkReadable(const std::string& path) {
  if (path == "-") return;
  // Not by opening it: a named pipe can be opened once only.
  struct stat status {};
  if (access(path.c_str(), R_OK) != 0 || stat(path.c_str(), &status) != 0) {
    refuse("cannot open " + path);
  }
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    refuse("cannot read " + path);
  }
}

bool isSameStream(const std::string& path, const std::string& other) {
  struct stat a {};
  struct stat b {};
  if (!statusOf(path, a) || !statusOf(other, b)) return false;
  const bool eachItsOwn = S_ISREG(a.st_mode) && (path != "-" || other != "-");
  return !eachItsOwn && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

std::string readFile(const std::string& path) {
  const Descriptor file(openOrStandardInput(path));
  std::string text;
  for (Buffer part; readSome(file, displayName(path), kBlock, part); part.clear()) {
    text += part.text();
    if (text.size() > kLongest) {
      throw Refusal(displayName(path) + " is too large: it has more than 2147483647 bytes");
    }
  }
  return text;
}

std::string readFirstLine(const std::string& path) {
  LineBlocks blocks(path);
  Buffer block;
  blocks.next(block);
  if (blocks.skipped() > 0) throw Refusal(displayName(path) + " begins with too long a line");
  std::string_view lines = block.text();
  return std::string(takeLine(lines));
}

}  // namespace vu::tool
