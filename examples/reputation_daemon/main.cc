// A daemon that tells the reputation of URLs, on the loopback interface alone: settings that change
// at SIGHUP, queries over TCP and UDP, enciphered updates, and a table that is renewed while all of
// them go on. It ends at SIGTERM.

#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <list>
#include <thread>

#include "server.h"
#include <arpa/inet.h>

namespace {

/// A socket on 127.0.0.1. A `port` of 0 becomes the one that the system has chosen.
int open(int type, unsigned short& port) {
  const int number = socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(number, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  if (bind(number, generic, size) != 0 || (type == SOCK_STREAM && listen(number, 1024) != 0) ||
      getsockname(number, generic, &size) != 0) {
    throw vu_exception("cannot listen on port " + val2str(port));
  }
  port = ntohs(address.sin_port);
  return number;
}

/// What SIGHUP asks for. Whatever fails leaves settings or table as they were.
void reload(vu_config& store, int argc, char** argv, Shared& shared) {
  try {
    store.reload(argc, argv, kOptions);
    std::atomic_store(&shared.record, std::make_shared<const Settings>(store));
  } catch (const std::exception& failure) {
    std::cerr << "The settings stay: " << failure.what() << '\n';
  }
  try {
    const std::shared_ptr<const Settings> settings = shared.settings();
    shared.tables.reload(settings->suffixes.c_str(), settings->least);
  } catch (const std::exception& failure) {
    std::cerr << "The table stays: " << failure.what() << '\n';
  }
}

void run(int argc, char** argv) {
  vu_config store;
  store.initConfig(argc, argv, kOptions);
  store.check();

  // Only this thread takes signals: the others inherit the mask.
  sigset_t signals;
  sigemptyset(&signals);
  for (const int each : {SIGHUP, SIGTERM, SIGINT}) sigaddset(&signals, each);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);

  const unsigned char salt[] = {'u', 'p', 'd', 'a', 't', 'e', 's'};
  const auto key = std::make_shared<const vu_key>(store.getParam("passphrase").c_str(), salt,
                                                  static_cast<int>(sizeof salt), 1000);
  Shared shared{std::make_shared<const Settings>(store),
                vu_shared_cctld(store.getParam("suffixes").c_str()), key};
  auto queries = store.get<unsigned short>("queries");
  auto updates = store.get<unsigned short>("updates");
  const Sockets sockets{open(SOCK_STREAM, queries), open(SOCK_DGRAM, queries),
                        open(SOCK_STREAM, updates), eventfd(0, EFD_CLOEXEC)};
  std::list<Worker> workers;
  for (int i = 0; i < store.get<int>("workers"); ++i) workers.emplace_back(shared, sockets);
  std::list<std::thread> threads;
  for (Worker& each : workers) threads.emplace_back(&Worker::run, &each);
  std::cout << "queries " << queries << " updates " << updates << std::endl;

  int signal = 0;
  while (sigwait(&signals, &signal) != 0 || signal == SIGHUP) reload(store, argc, argv, shared);
  eventfd_write(sockets.stop, 1);
  for (std::thread& each : threads) each.join();
  std::cout << "answered " << shared.queries << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    run(argc, argv);
  } catch (const vu_exception& failure) {
    const bool isUsage = failure.kind() == vu_failure::usage;
    (isUsage ? std::cout : std::cerr) << failure.what() << '\n';
    return isUsage ? 2 : 1;
  }
}
