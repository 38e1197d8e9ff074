// What the daemon answers, and the threads that do.
//
// A query is a URL: a line over TCP, any number of them on a connection, or a datagram. The answer
// is a line: status, score and domain, "-" for what there is not.
//
// An update is a length of four bytes, the most significant first, and so many bytes that are
// enciphered: <update><r s='70'>example.org</r>...</update>. The answer is a line, too.

#ifndef REPUTATION_DAEMON_SERVER_H_
#define REPUTATION_DAEMON_SERVER_H_

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "reputations.h"
#include "settings.h"
#include <vu/crypto.h>
#include <vu/domain.h>
#include <vu/pattern.h>

/// What the threads share.
struct Shared {
  std::shared_ptr<const Settings> record;  // replaced by std::atomic_store
  vu_shared_cctld tables;
  const std::shared_ptr<const vu_key> key;
  Reputations reputations{};
  std::atomic<long> queries{0};

  std::shared_ptr<const Settings> settings() const { return std::atomic_load(&record); }
};

/// Descriptors that every thread waits for.
struct Sockets {
  int queries, datagrams, updates;
  int stop;  ///< Readable when the threads have to end.
};

/// One thread's work: it waits for all sockets and for the connections that it has accepted.
class Worker {
 public:
  /// Throws vu_exception.
  Worker(Shared& shared, const Sockets& sockets);
  ~Worker();

  /// Until `stop` is readable. Throws nothing: whatever fails ends a connection.
  void run();

 private:
  struct Connection {
    bool isForUpdates;
    std::string in{}, out{};  // neither grows beyond what one message and one block may be
  };

  void watch(int number, unsigned int events, int operation);
  void accept(int listener);
  void answerDatagrams();
  bool serve(int number, Connection& connection);
  bool answerQueries(Connection& connection);
  bool answerUpdates(Connection& connection);
  std::string answer(std::string_view url);
  std::string update(std::string_view enciphered);

  Shared& shared_;
  const Sockets sockets_;
  int epoll_;
  int spare_;  // given up for a moment to turn a client away when there are no descriptors
  vu_crypto engine_;
  vu_pcrexml parser_;  // made once: expressions take long to compile
  std::unordered_map<int, Connection> connections_;
};

#endif  // REPUTATION_DAEMON_SERVER_H_
