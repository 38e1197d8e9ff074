#include "tools/messages.h"

#include <iostream>

#include "tools/text.h"

namespace vu::tool {
namespace {

std::string& speaker() {
  static std::string command = "vu";
  return command;
}

}  // namespace

void setSpeaker(const std::string& command) { speaker() = command; }

void say(std::string_view text) { std::cerr << speaker() + ": " + visible(text) + "\n"; }

}  // namespace vu::tool
