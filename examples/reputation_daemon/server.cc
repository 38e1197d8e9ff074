#include "server.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <utility>

namespace {

constexpr std::size_t kLongestUrl = 8192;

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

/// The line of an answer.
std::string lineOf(unsigned int status, const std::string& score, std::string_view domain) {
  return val2str(status) + ' ' + score + ' ' + std::string(domain.empty() ? "-" : domain) + '\n';
}

/// What an update says. Throws vu_exception when any of it cannot be read: half an update would be
/// taken for a whole one.
Reputations::Update recordsOf(vu_pcrexml& parser, std::string_view xml) {
  const std::unique_ptr<const xmldata> root(parser.execute(xml, "message"));
  if (!parser.usedAll()) {
    throw vu_exception(vu_failure::xml, "unread from byte " + val2str(parser.stoppedAt()));
  }
  Reputations::Update records;
  for (const xmldata* update : root->children("update")) {
    for (const xmldata* record : update->children("r")) {
      const int score = str2val<int>(record->attribute("s"));
      if (score < 0) throw vu_exception(vu_failure::number, "a score below 0");
      records.emplace_back(vu_domainKey(record->text()), score);
    }
  }
  return records;
}

}  // namespace

Worker::Worker(Shared& shared, const Sockets& sockets)
    : shared_(shared),
      sockets_(sockets),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      spare_(open("/dev/null", O_RDONLY | O_CLOEXEC)),
      engine_(0, nullptr, shared.key) {
  for (const int each : {sockets.queries, sockets.datagrams, sockets.updates}) {
    watch(each, EPOLLIN | EPOLLEXCLUSIVE, EPOLL_CTL_ADD);
  }
  watch(sockets.stop, EPOLLIN, EPOLL_CTL_ADD);
}

Worker::~Worker() {
  for (const auto& each : connections_) close(each.first);
  close(epoll_);
  close(spare_);
}

void Worker::watch(int number, unsigned int events, int operation) {
  epoll_event event{};
  event.events = events;
  event.data.fd = number;
  if (epoll_ctl(epoll_, operation, number, &event) != 0) {
    throw vu_exception("cannot wait for descriptor " + val2str(number));
  }
}

void Worker::run() {
  epoll_event events[64];
  while (true) {
    const int count = epoll_wait(epoll_, events, 64, -1);
    for (int i = 0; i < count; ++i) {
      const int number = events[i].data.fd;
      if (number == sockets_.stop) return;
      bool goesOn = false;
      try {
        if (number == sockets_.datagrams) {
          answerDatagrams();
        } else if (number == sockets_.queries || number == sockets_.updates) {
          accept(number);
        } else {
          goesOn = serve(number, connections_.at(number));
        }
      } catch (const std::exception& failure) {
        // Want of memory, mostly: this client loses its connection, the others do not notice.
        std::cerr << "A client is left: " << failure.what() << '\n';
      }
      if (!goesOn && connections_.erase(number) > 0) close(number);
    }
  }
}

void Worker::accept(int listener) {
  const int number = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (number < 0) {
    if (errno != EMFILE && errno != ENFILE) return;
    close(spare_);  // a client that nobody accepts would wake us up for ever
    close(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    spare_ = open("/dev/null", O_RDONLY | O_CLOEXEC);
    return;
  }
  try {
    connections_.emplace(number, Connection{listener == sockets_.updates});
    watch(number, EPOLLIN, EPOLL_CTL_ADD);
  } catch (const std::exception&) {
    connections_.erase(number);
    close(number);
  }
}

void Worker::answerDatagrams() {
  char url[kLongestUrl];
  for (int left = 64; left > 0; --left) {
    sockaddr_storage client{};
    socklen_t size = sizeof client;
    auto* const from = reinterpret_cast<sockaddr*>(&client);
    const ssize_t length =
        recvfrom(sockets_.datagrams, url, sizeof url, MSG_DONTWAIT | MSG_TRUNC, from, &size);
    if (length < 0) return;
    if (static_cast<std::size_t>(length) > sizeof url) continue;
    const std::string line = answer({url, static_cast<std::size_t>(length)});
    sendto(sockets_.datagrams, line.data(), line.size(), MSG_DONTWAIT, from, size);
  }
}

/// Reads a block and answers what is complete. A client that does not take its answers is not read
/// from. False: the connection ends.
bool Worker::serve(int number, Connection& connection) {
  if (connection.out.empty()) {
    char block[16384];
    const ssize_t length = recv(number, block, sizeof block, 0);
    if (length <= 0) return length < 0 && errno == EAGAIN;
    connection.in.append(block, static_cast<std::size_t>(length));
    if (!(connection.isForUpdates ? answerUpdates(connection) : answerQueries(connection))) {
      return false;
    }
    if (connection.out.empty()) return true;
  }
  const ssize_t sent = send(number, connection.out.data(), connection.out.size(), MSG_NOSIGNAL);
  if (sent < 0 && errno != EAGAIN) return false;
  if (sent > 0) connection.out.erase(0, static_cast<std::size_t>(sent));
  watch(number, connection.out.empty() ? EPOLLIN : EPOLLOUT, EPOLL_CTL_MOD);
  return true;
}

bool Worker::answerQueries(Connection& connection) {
  std::string_view rest = connection.in;
  for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
    connection.out += answer(rest.substr(0, end));
    rest.remove_prefix(end + 1);
  }
  connection.in.erase(0, connection.in.size() - rest.size());
  return connection.in.size() <= kLongestUrl;
}

bool Worker::answerUpdates(Connection& connection) {
  while (connection.in.size() >= 4) {
    std::size_t length = 0;
    for (int i = 0; i < 4; ++i) length = length << 8 | bytesOf(connection.in)[i];
    if (length > static_cast<std::size_t>(shared_.settings()->largest)) return false;
    if (connection.in.size() < 4 + length) return true;
    connection.out += update(std::string_view(connection.in).substr(4, length));
    connection.in.erase(0, 4 + length);
  }
  return true;
}

std::string Worker::answer(std::string_view url) {
  ++shared_.queries;
  const std::shared_ptr<const vu_cctld> table = shared_.tables.get();
  const vu_domain found = table->classify(url);
  if (found.status != VU_SUCCESS) return lineOf(found.status, "-", {});
  if (found.domain.empty()) return lineOf(VU_MALFORMED_URL, "-", {});
  const std::shared_ptr<const Settings> settings = shared_.settings();
  int score = -1;
  if (shared_.reputations.find(vu_domainKey(found.domain), settings->patience, score) != 0) {
    return lineOf(VU_WEB_UNKNOWN_ERROR, "-", found.domain);
  }
  if (score < 0) return lineOf(VU_URL_NOT_FOUND, "-", found.domain);
  const bool isBad = score < settings->threshold;
  return lineOf(isBad ? VU_REPUTATION_BELOW_THRESHOLD : VU_SUCCESS, val2str(score), found.domain);
}

std::string Worker::update(std::string_view enciphered) {
  try {
    const int length = static_cast<int>(enciphered.size());
    std::string xml(static_cast<std::size_t>(engine_.ciphersize(length)), '\0');
    const int written = engine_.cipheranalyse(bytesOf(enciphered), length,
                                              reinterpret_cast<unsigned char*>(xml.data()),
                                              engine_.ciphersize(length));
    xml.resize(static_cast<std::size_t>(written));
    const Reputations::Update records = recordsOf(parser_, xml);
    const int error = shared_.reputations.store(records, shared_.settings()->patience);
    return error == 0 ? "stored " + val2str(records.size()) + "\n" : "busy\n";
  } catch (const vu_exception& failure) {
    const char* const what = failure.kind() == vu_failure::cipher ? "deciphered"
                             : failure.kind() == vu_failure::xml  ? "parsed"
                                                                  : "understood";
    return std::string("refused, for it cannot be ") + what + '\n';
  }
}
