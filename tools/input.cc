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

constexpr std::size_t kBlock = std::size_t{1} << 18;
constexpr std::size_t kLongest = INT_MAX;  // of a line, and of a file that is read whole

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

}  // namespace

std::string displayName(const std::string& path) { return path == "-" ? "standard input" : path; }

LineBlocks::LineBlocks(const std::string& path)
    : path_(displayName(path)), file_(openOrStandardInput(path)) {}

bool LineBlocks::next(Buffer& block) {
  block.clear();
  block += rest_.text();
  rest_.clear();
  std::size_t lines = 0;  // the bytes of whole lines
  std::size_t searched = 0;
  while (!atEnd_ && (lines == 0 || (block.size() < kBlock && moreIsThere()))) {
    if (!readMore(block)) break;
    const std::size_t lineEnd = block.text().substr(searched).rfind('\n');
    if (lineEnd != std::string_view::npos) lines = searched + lineEnd + 1;
    searched = block.size();
    if (lines == 0 && searched > kLongest) {
      throw Refusal(path_ + " has a line of more than 2147483647 bytes");
    }
  }
  wasFull_ = block.size() >= kBlock;
  if (atEnd_) return block.size() > 0;
  rest_ += block.text().substr(lines);
  block.truncate(lines);
  return true;
}

/// Adds what one read gives to `block`; false at the end of the file.
bool LineBlocks::readMore(Buffer& block) {
  // A block that is full goes on only when it is the beginning of a long line.
  const std::size_t wanted = block.size() < kBlock ? kBlock - block.size() : kBlock;
  char* const room = block.room(wanted);
  ssize_t got = 0;
  do {
    got = read(file_.number(), room, wanted);
  } while (got < 0 && shouldTryAgain(file_.number(), POLLIN));
  if (got < 0) refuse("cannot read " + path_);
  block.setEnd(room + got);
  atEnd_ = got == 0;
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
  LineBlocks blocks(path);
  std::string text;
  for (Buffer block; blocks.next(block); text += block.text()) {
    if (text.size() + block.size() > kLongest) {
      throw Refusal(displayName(path) + " is too large: it has more than 2147483647 bytes");
    }
  }
  return text;
}

std::string readFirstLine(const std::string& path) {
  LineBlocks blocks(path);
  Buffer block;
  blocks.next(block);
  std::string_view lines = block.text();
  return std::string(takeLine(lines));
}

}  // namespace vu::tool
