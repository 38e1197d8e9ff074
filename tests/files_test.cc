// Files that cannot be read, or not to their end, and outputs that cannot be written: by the
// library's readers and by every command of the tool.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include <gtest/gtest.h>

#include "tests/plain/table.h"
#include "tests/process.h"
#include "tests/support.h"
#include "vu/config.h"
#include "vu/domain.h"

namespace vu::test {
namespace {

constexpr uid_t kNobody = 65534;

/// A file of which a page can be read, and then nothing: the memory of a process that has nothing
/// but a page at its beginning. Who has not the privilege for such a page gets no file.
class BrokenFile {
 public:
  explicit BrokenFile(const std::string& text) {
    constexpr std::size_t size = 4096;
    int ends[2];
    if (pipe(ends) != 0) return;
    child_ = fork();
    if (child_ == 0) {
      const std::string page = text + std::string(size - text.size(), '\n');
      const int memory = open("/proc/self/mem", O_RDWR);
      if (mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1,
               0) == MAP_FAILED ||
          pwrite(memory, page.data(), size, 0) != static_cast<ssize_t>(size) ||
          write(ends[1], "", 1) != 1) {
        _exit(1);
      }
      while (true) pause();
    }
    close(ends[1]);
    char byte = 0;
    if (read(ends[0], &byte, 1) == 1) path_ = "/proc/" + std::to_string(child_) + "/mem";
    close(ends[0]);
  }
  BrokenFile(const BrokenFile&) = delete;
  BrokenFile& operator=(const BrokenFile&) = delete;
  ~BrokenFile() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }

  /// "" when there is none.
  const std::string& path() const { return path_; }

 private:
  pid_t child_ = -1;
  std::string path_;
};

/// A line that is a setting as well as a record of a definition file.
constexpr char kLine[] = "debug 7\n";

/// What both of the library's readers make of a file, and what they leave behind.
void checkReaders(const std::string& path, const std::string& tableMessage, int suffixesLeft,
                  const std::string& settingsMessage, const char* debugLeft) {
  const TemporaryFile good("co.xy 3\nnet.xy 3\n");
  vu_cctld table(good.path());
  EXPECT_EQ(tableMessage, messageOf([&] { table.reload(path.c_str()); }));
  EXPECT_EQ(2, table.suffixCount());
  EXPECT_EQ("b.co.xy", table.classify("a.b.co.xy").domain);
  EXPECT_EQ(tableMessage, messageOf([&] { table.initSet(path.c_str()); }));
  EXPECT_EQ(suffixesLeft, table.suffixCount());
  EXPECT_EQ("co.xy", table.classify("a.b.co.xy").domain);

  vu_getopt parser(0, nullptr, nullptr);
  EXPECT_EQ(settingsMessage, messageOf([&] { parser.setConfigFile(path.c_str()); }));
  int type = 0;
  EXPECT_STREQ(debugLeft, parser.getOptItem("debug", type));
  vu_config store(nullptr);
  store.setParam("debug", "9", 'd');
  std::string name = "daemon", file = "-c" + path;
  char* const arguments[] = {name.data(), file.data(), nullptr};
  EXPECT_EQ(settingsMessage, messageOf([&] { store.initConfig(2, arguments, nullptr); }));
  EXPECT_EQ("9", store.getParam("debug"));
}

std::string openError(const std::string& path, int error) {
  return "Top level domain definition file [" + path + "] open error : " + std::strerror(error);
}

TEST(Files, ReadersTellWhatTheyCannotRead) {
  const auto cannot = [](const char* what, const std::string& path) {
    return "Cannot " + (what + (" configuration file [" + path + "]"));
  };
  checkReaders("/nowhere", openError("/nowhere", ENOENT), 0, cannot("open", "/nowhere"), "2");
  for (const char* path : {"/tmp", "/proc/self/mem"}) {
    checkReaders(path, readError(1), 0, cannot("open", path), "2");
  }
  const TemporaryFile closed(kLine);
  chmod(closed.path(), 0);
  inChild([&] {
    ASSERT_TRUE(getuid() != 0 || seteuid(kNobody) == 0);
    const std::string path = closed.path();
    checkReaders(path, openError(path, EACCES), 0, cannot("open", path), "2");
    ASSERT_EQ(0, seteuid(getuid()));
  });
  const BrokenFile broken(kLine);
  if (broken.path().empty()) GTEST_SKIP() << "no page at address 0 for this user";
  checkReaders(broken.path(), readError(2), 1, cannot("read", broken.path()), "7");
}

// -----------------------------------------------------------------------------------------------
// The tool

TEST(Files, CommandsTellWhatTheyCannotRead) {
  const BrokenFile broken(kLine);
  const TemporaryFile closed(kLine);
  chmod(closed.path(), 0);
  struct Bad {
    std::string path;
    std::string error;
    std::string as = "vu ";  ///< In front of the command.
  };
  std::vector<Bad> files = {{"/nowhere", "open /nowhere: No such file or directory"},
                            {"/tmp", "read /tmp: Is a directory"},
                            {"/proc/self/mem", "read /proc/self/mem: Input/output error"}};
  const std::string& path = broken.path();
  if (!path.empty()) files.push_back({path, "read " + path + ": Input/output error"});
  const std::string nobody = getuid() == 0 ? "setpriv --reuid=65534 --clear-groups vu " : "vu ";
  if (run(nobody + "--version").status == 0) {
    files.push_back(
        {closed.path(), std::string("open ") + closed.path() + ": Permission denied", nobody});
  }
  for (const Bad& bad : files) {
    for (std::string command : {"classify --summary a.b -f FILE", "suffixes build FILE",
                                "suffixes check FILE", "xml FILE", "pairs FILE", "encipher FILE",
                                "encipher --passphrase-file FILE /dev/null", "decipher FILE"}) {
      command.replace(command.find("FILE"), 4, bad.path);
      const Result result = run(bad.as + command);
      EXPECT_EQ(1, result.status) << command;
      EXPECT_TRUE(says(result.err, ": cannot " + bad.error + "\n")) << command;
    }
  }
  EXPECT_TRUE(path.empty() ||
              says(run("vu hash <" + path).err, "cannot read standard input: Input"));
}

TEST(Files, CommandsTellWhatTheyCannotWrite) {
  for (const std::string command :
       {"echo a.b | vu classify", "vu classify a.b", "vu settings", "vu settings --check",
        "echo xy | vu suffixes build -", "echo xy 2 | vu suffixes check -", "echo '<a/>' | vu xml",
        "echo '<a/>' | vu xml --format xml", "echo a=b | vu pairs", "echo a | vu hash", "vu hash a",
        "echo a | vu encipher", "echo a | vu encipher | vu decipher", "vu encipher --info",
        "vu status", "vu status 0", "vu --help", "vu --version"}) {
    const Result full = run(command + " >/dev/full");
    EXPECT_EQ(1, full.status) << command;
    EXPECT_TRUE(says(full.err, "cannot write standard output: No space left on device\n"))
        << command;
    // A reader that goes away has had enough.
    const Result gone = run("{ { sleep 0.02; " + command + "; echo $? >&3; } | :; } 3>&1");
    EXPECT_EQ("0\n", gone.out) << command;
    EXPECT_EQ(std::string::npos, gone.err.find("cannot")) << gone.err;
  }
}

/// A signal that would end the process waits while a file is being written. The process is stopped
/// when the file is there under its first name; one that was faster is tried again.
TEST(Files, ASignalLeavesNothingHalfMade) {
  const Result result = run(R"(
    d=$(mktemp -d); mkdir $d/new; cd $d; yes | head -c 40000000 >in
    for signal in HUP INT TERM; do
      for try in $(seq 100); do
        rm -f new/*
        # In the background it may find them ignored.
        env --default-signal=$signal vu encipher --iterations 1 in new/out & vu=$!
        polls=0
        while set -- new/.vu* new/out; [ ! -e $1 ] && [ ! -e $2 ]; do
          [ $((polls += 1)) -lt 1000000 ] || exit
        done
        kill -STOP $vu
        while grep -q '^State:.[RSD]' /proc/$vu/status; do :; done
        grep -q '^State:.T' /proc/$vu/status && [ ! -e new/out ] && held=yes || held=no
        kill -$signal $vu; kill -CONT $vu; wait $vu && status=0 || status=$?
        [ $held = no ] || break
      done
      echo $held, status $status, $(ls -A new), $(stat -c %s new/out) bytes
    done
    rm -r $d)");
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    const std::string status = std::to_string(128 + signal);
    EXPECT_TRUE(says(result.out, "yes, status " + status + ", out, 40000016 bytes\n"));
  }
}

/// A standard output that others have made non-blocking is waited for.
TEST(Files, AFullPipeIsWaitedFor) {
  const Result result = run(R"(yes http://www.example.com/ | head -n 15000 | {
    perl -MFcntl -e 'fcntl(STDOUT, F_SETFL, O_WRONLY | O_NONBLOCK) or die'
    vu classify; echo "status $?" >&2; } | { sleep 0.3; cat; } | sort | uniq -c | xargs)");
  EXPECT_EQ("15000 0 OPERATION SUCCESS example.com http://www.example.com/\n", result.out);
  EXPECT_EQ("status 0\n", result.err);
}

}  // namespace
}  // namespace vu::test
