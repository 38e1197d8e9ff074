// The daemon's own settings: an option table, and the record that requests use.

#ifndef REPUTATION_DAEMON_SETTINGS_H_
#define REPUTATION_DAEMON_SETTINGS_H_

#include <string>

#include <vu/config.h>

inline const vu_opt_helper kOptions[] = {
    {"queries", 'd', 'p', "0", "port for queries on 127.0.0.1, TCP and UDP; 0: any"},
    {"updates", 'b', 'p', "0", "port for updates on 127.0.0.1; 0: any"},
    {"conffile", 'c', 's', "none", "configuration file, read again at SIGHUP"},
    {"suffixes", 's', 's', "suffixes.txt", "definition file, read again at SIGHUP"},
    {"least", 'l', 'd', "-1", "fewest suffixes that a new table may have; -1: half of the old one"},
    {"threshold", 't', 'd', "50", "scores below this one are told apart"},
    {"workers", 'w', 'd', "2", "threads that answer"},
    {"patience", 'x', 'd', "250", "milliseconds to wait for a lock (-x patience=N)"},
    {"largest", 'x', 'd', "65536", "most bytes of an update (-x largest=N)"},
    {"passphrase", 'X', 's', "an example and no secret", "only in the configuration file"},
    {}};

/// What a request needs, copied after each reload: requests neither look names up nor take a lock.
struct Settings {
  explicit Settings(const vu_config& store)
      : suffixes(store.get<std::string>("suffixes")),
        least(store.get<int>("least")),
        threshold(store.get<int>("threshold")),
        patience(store.get<int>("patience")),
        largest(store.get<int>("largest")) {}

  std::string suffixes;
  int least, threshold, patience, largest;
};

#endif  // REPUTATION_DAEMON_SETTINGS_H_
