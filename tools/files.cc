#include "tools/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "tools/command.h"

namespace vu::tool {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;

[[noreturn]] void refuse(const std::string& what) {
  throw Refusal(what + ": " + std::strerror(errno));
}

int openOrStandardInput(const std::string& path) {
  if (path == "-") return STDIN_FILENO;
  const int number = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (number < 0) refuse("cannot open " + path);
  return number;
}

/// After a read or write has failed: whether it is to be tried again, because a signal came or,
/// with a file that somebody has set not to block, because it was not ready. Waits until it is.
bool shouldTryAgain(int file, short event) {
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd waiting{file, event, 0};
  poll(&waiting, 1, -1);
  return true;
}

/// Writes all of `text`; false with errno set when that fails.
bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (!shouldTryAgain(file, POLLOUT)) {
      return false;
    }
  }
  return true;
}

/// Puts a file in the place of `target`; with `onlyNew`, false and EEXIST when something is there.
bool rename(const std::string& file, const std::string& target, bool onlyNew) {
  if (!onlyNew) return std::rename(file.c_str(), target.c_str()) == 0;
  if (renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
    return true;
  // Not every file system can tell the two apart. The target was not there a moment ago.
  return errno == EINVAL && std::rename(file.c_str(), target.c_str()) == 0;
}

/// Writes a new file beside `target`, with these permissions, and puts it in its place. False with
/// errno set and nothing left behind when that fails.
bool putInPlace(const std::string& target, mode_t permissions, std::string_view text,
                bool onlyNew) {
  std::string beside = target + ".XXXXXX";
  const int number = mkstemp(beside.data());
  if (number < 0) return false;
  const Descriptor file(number);
  if (writeAll(number, text) && fchmod(number, permissions) == 0 &&
      rename(beside, target, onlyNew)) {
    return true;
  }
  const int error = errno;
  unlink(beside.c_str());
  errno = error;
  return false;
}

/// Where a path leads to, all links followed; the path itself when there is nothing.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
  return real != nullptr ? real.get() : path;
}

mode_t permissionsOfNewFiles() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

/// Whether a path leads to a device, a pipe or the like, which is no file to be replaced.
bool isWrittenDirectly(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

bool writeDirectly(const std::string& path, std::string_view text) {
  const int number = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (number < 0) return false;
  const Descriptor file(number);
  return writeAll(number, text);
}

void writeFile(const std::string& path, std::string_view text, bool onlyNew) {
  struct stat status {};
  const bool exists = stat(path.c_str(), &status) == 0;
  const mode_t permissions = exists ? status.st_mode & 07777 : permissionsOfNewFiles();
  const bool done = isWrittenDirectly(path)
                        ? writeDirectly(path, text)
                        : putInPlace(resolved(path), permissions, text, onlyNew);
  if (!done) refuse("cannot write " + path);
}

}  // namespace

Descriptor::~Descriptor() {
  if (number_ != STDIN_FILENO) close(number_);
}

std::string displayName(const std::string& path) { return path == "-" ? "standard input" : path; }

LineBlocks::LineBlocks(const std::string& path)
    : path_(displayName(path)), file_(openOrStandardInput(path)) {}

bool LineBlocks::next(std::string& block) {
  block.clear();
  block.swap(rest_);
  std::size_t lines = 0;  // the bytes of whole lines
  std::size_t searched = 0;
  while (!atEnd_ && (lines == 0 || (block.size() < kBlock && moreIsThere()))) {
    if (!readMore(block)) break;
    const std::size_t lineEnd = std::string_view(block).substr(searched).rfind('\n');
    if (lineEnd != std::string_view::npos) lines = searched + lineEnd + 1;
    searched = block.size();
  }
  wasFull_ = block.size() >= kBlock;
  if (atEnd_) return !block.empty();
  rest_ = block.substr(lines);
  block.resize(lines);
  return true;
}

/// Adds what one read gives to `block`; false at the end of the file.
bool LineBlocks::readMore(std::string& block) {
  const std::size_t had = block.size();
  block.resize(had + kBlock);
  ssize_t got = 0;
  do {
    got = read(file_.number(), block.data() + had, kBlock);
  } while (got < 0 && shouldTryAgain(file_.number(), POLLIN));
  block.resize(had + static_cast<std::size_t>(got < 0 ? 0 : got));
  if (got < 0) refuse("cannot read " + path_);
  atEnd_ = got == 0;
  return !atEnd_;
}

std::string_view takeLine(std::string_view& block) {
  const std::size_t lineEnd = block.find('\n');
  std::string_view line = block.substr(0, lineEnd);
  block.remove_prefix(lineEnd == std::string_view::npos ? block.size() : lineEnd + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
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

void writeOut(std::string_view text) {
  if (writeAll(STDOUT_FILENO, text)) return;
  if (errno == EPIPE) throw ReaderGone();
  refuse("cannot write standard output");
}

void replaceFile(const std::string& path, std::string_view text) { writeFile(path, text, false); }

void createFile(const std::string& path, std::string_view text) {
  checkNew(path);
  writeFile(path, text, true);
}

void checkNew(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0 && !isWrittenDirectly(path)) {
    throw Refusal(path + " is there already; --force replaces it");
  }
}

std::string readFile(const std::string& path) {
  LineBlocks blocks(path);
  std::string text;
  std::string block;
  while (blocks.next(block)) text += block;
  return text;
}

}  // namespace vu::tool
