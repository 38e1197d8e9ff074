#include "tools/descriptor.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/command.h"

namespace vu::tool {

Descriptor::~Descriptor() { close(); }

bool Descriptor::close() {
  const int number = number_;
  number_ = STDIN_FILENO;
  return number == STDIN_FILENO || ::close(number) == 0;
}

void refuse(const std::string& what) { throw Refusal(what + ": " + std::strerror(errno)); }

bool shouldTryAgain(int file, short event) {
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd waiting{file, event, 0};
  poll(&waiting, 1, -1);
  return true;
}

}  // namespace vu::tool
