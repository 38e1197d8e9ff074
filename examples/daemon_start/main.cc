// A daemon's start and a request, from settings of its own to the domain.

#include <fstream>
#include <iostream>

#include <vu/config.h>
#include <vu/domain.h>

// Name, option letter, type letter, default, help.
const vu_opt_helper kOptions[] = {
    {"port", 'p', 'p', "10535", "port to listen on"},
    {"suffixes", 's', 's', "suffixes.txt", "definition file"},
    {"conffile", 'c', 's', "none", "configuration file"},
    {"debug", 'v', 'b', nullptr, "say more, each time it is given"},
    {"patience", 'x', 'd', "250", "milliseconds to wait for a lock (-x patience=N)"},
    {"share", 'X', 'e', "0.5", "only in a configuration file: of what, is up to you"},
    {}};

int main(int argc, char** argv) {
  std::ofstream("vu.conf") << "debug 3  # read by option -c\n";
  std::ofstream("suffixes.txt") << "co.uk 3\n";
  try {
    // Settings: defaults, then the command line with the files that it names.
    vu_config settings;
    settings.initConfig(argc, argv, kOptions);
    settings.check();  // a number that is none fails now, not at its first use
    std::cout << "port " << settings.get<unsigned short>("port") << ", debug "
              << settings.get<int>("debug") << " (" << settings.origin("debug") << ")\n";

    // The table of suffixes; hosts of a single label belong to corp.example.
    vu_cctld table(nullptr, "corp.example");
    table.initSet(settings.getParam("suffixes").c_str());  // without it: "co.uk"

    // A request.
    std::string domain;
    unsigned int address = 0;
    table.lookup("http://www.shop.co.uk/cart", domain, address);
    std::cout << "reputation is kept for " << domain << '\n';
  } catch (const vu_exception& failure) {
    std::cerr << failure.what() << '\n';
    return failure.kind() == vu_failure::usage ? 2 : 1;  // what -h asks for comes this way, too
  }
}
