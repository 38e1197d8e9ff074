// A daemon's start and a request, from the settings to the domain.

#include <fstream>
#include <iostream>

#include <vu/config.h>
#include <vu/domain.h>

int main(int argc, char** argv) {
  std::ofstream("vu.conf") << "debug 3  # read by option -c\n";
  std::ofstream("suffixes.txt") << "co.uk 3\n";
  try {
    // Settings: defaults, then the command line with the files that it names.
    vu_config settings(nullptr);
    settings.initConfig(argc, argv, nullptr);
    const int level = settings.getConfItem("debug").asInt;     // by type: a number
    const std::string& port = settings.getParam("inet_port");  // by name: the text
    std::cout << "port " << port << ", debug " << level << " (" << settings.origin("debug")
              << ")\n";

    // The table of suffixes; hosts of a single label belong to corp.example.
    vu_cctld table(nullptr, "corp.example");
    table.initSet("suffixes.txt");  // a daemon without its table would answer "co.uk"

    // A request.
    std::string domain;
    unsigned int address = 0;
    table.lookup("http://www.shop.co.uk/cart", domain, address);
    std::cout << "reputation is kept for " << domain << '\n';
  } catch (const vu_exception& failure) {
    std::cerr << failure.what() << '\n';  // the usage text comes this way, too
    return 1;
  }
}
