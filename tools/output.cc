#include "tools/output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tools/command.h"
#include "tools/descriptor.h"

namespace vu::tool {
namespace {

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

enum class Place {
  free,  ///< Nothing is there.
  linkToNothing,
  file,
  stream,  ///< A device for characters, a pipe, a socket: nothing is lost by writing there.
  other    ///< A folder, a block device, or an open file under a name in /dev or /proc.
};

Place placeAt(const std::string& path) {
  struct stat itself {};
  struct stat target {};
  if (lstat(path.c_str(), &itself) != 0) return Place::free;
  if (stat(path.c_str(), &target) != 0) return Place::linkToNothing;
  if (S_ISCHR(target.st_mode) || S_ISFIFO(target.st_mode) || S_ISSOCK(target.st_mode)) {
    return Place::stream;
  }
  // Links such as /dev/stdout lead to what is open, even to a file that has no name any more.
  const bool isOpenFile =
      S_ISLNK(itself.st_mode) && (path.rfind("/dev/", 0) == 0 || path.rfind("/proc/", 0) == 0);
  return S_ISREG(target.st_mode) && !isOpenFile ? Place::file : Place::other;
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

/// Where a path leads to, all links followed; the path itself when there is nothing.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
  return real != nullptr ? real.get() : path;
}

mode_t permissionsFor(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return status.st_mode & 07777;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

/// While it lives, a signal that would end the process waits, so that no file is left half made.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &before_);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

/// Gives a file its name; false with errno set when that fails, or when something has it already.
bool putIn(const std::string& file, const std::string& target, Existing existing) {
  if (existing == Existing::replaced) return std::rename(file.c_str(), target.c_str()) == 0;
  if (renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
    return true;
  // Not every file system can do that in one step.
  return errno == EINVAL && link(file.c_str(), target.c_str()) == 0 && unlink(file.c_str()) == 0;
}

/// Writes a new file in the folder of `target` and puts it in its place. False with errno set and
/// nothing left behind when that fails.
bool writeBeside(const std::string& target, std::string_view text, Existing existing) {
  const SignalsHeld held;
  std::string beside = folderOf(target) + "/.vu-XXXXXX";
  const int number = mkstemp(beside.data());
  if (number < 0) return false;
  Descriptor file(number);
  // On the disk before it has its name: after a crash it leads to the old file or the new one.
  if (writeAll(number, text) && fchmod(number, permissionsFor(target)) == 0 && fsync(number) == 0 &&
      file.close() && putIn(beside, target, existing)) {
    return true;
  }
  const int error = errno;
  unlink(beside.c_str());
  errno = error;
  return false;
}

bool writeDirectly(const std::string& path, std::string_view text) {
  const int number = open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (number < 0) return false;
  Descriptor file(number);
  return writeAll(number, text) && file.close();
}

}  // namespace

void writeOut(std::string_view text) {
  if (writeAll(STDOUT_FILENO, text)) return;
  if (errno == EPIPE) throw ReaderGone();
  refuse("cannot write standard output");
}

void checkPlace(const std::string& path, Existing existing) {
  const Place place = placeAt(path);
  if (place == Place::linkToNothing) throw Refusal("cannot write " + path + ": a link to nothing");
  if (place == Place::free && access(folderOf(path).c_str(), W_OK) != 0) {
    refuse("cannot write " + path);
  }
  if (existing == Existing::refused && (place == Place::file || place == Place::other)) {
    throw Refusal(path + " is there already; --force replaces it");
  }
}

void writeFile(const std::string& path, std::string_view text, Existing existing) {
  checkPlace(path, existing);
  const Place place = placeAt(path);
  const bool beside = place == Place::free || place == Place::file;
  if (!(beside ? writeBeside(resolved(path), text, existing) : writeDirectly(path, text))) {
    refuse("cannot write " + path);
  }
}

}  // namespace vu::tool
