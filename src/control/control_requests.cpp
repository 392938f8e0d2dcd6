#include "control/control_requests.h"

#include <boost/lexical_cast.hpp>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <list>

#include "control/departed_clients.h"
#include "ctrl/link.h"
#include "ctrl/messages.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"

namespace {

constexpr std::size_t readLimit = 256;
constexpr std::size_t messageLimit = 255;

int acceptClient(const ControlServer& listener) {
  const int fd = accept(listener.fd(), nullptr, nullptr);
  if (fd == -1) {
    ulx::throwErrno("accept()", errno);
  }
  return fd;
}

void keepFromWorkers(int fd) {
  if (fcntl(fd, F_SETFD, FD_CLOEXEC) == -1) {
    ulx::throwErrno("fcntl(connfd,F_SETFD,FD_CLOEXEC)", errno);
  }
}

// What one read delivers, at most 255 bytes. A worker that ends meanwhile does not disturb it.
std::string receiveMessage(int fd) {
  std::array<char, readLimit> buffer{};
  ssize_t count = 0;
  do {
    count = read(fd, buffer.data(), buffer.size());
  } while (count == -1 && errno == EINTR);
  if (count == -1) {
    ulx::throwErrno("listen read", errno);
  }
  return {buffer.data(), std::min(static_cast<std::size_t>(count), messageLimit)};
}

// A client that has gone gets nothing, nor does one that has not read what it was sent before.
void sendTo(int fd, std::string_view bytes) {
  send(fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

void answer(const RxCtrl& ctrl, int client) {
  sendTo(client, ctrl.lastRequest);
  close(client);
  logDebug("immediate send ", withoutKeys(ctrl.lastRequest), " to ", client);
}

// Takes the next field off `rest`, and the blank behind it. A missing field is empty.
std::string takeField(std::string_view& rest) {
  const std::string_view field = rest.substr(0, rest.find(' '));
  rest.remove_prefix(std::min(field.size() + 1, rest.size()));
  return std::string(field);
}

void replaceKey(LinkKey& key, const std::string& field) {
  if (!field.empty()) {
    key = field;
  }
}

void takeParameters(RxCtrl& ctrl, std::string_view line) {
  std::string_view rest = line;
  ctrl.hostname = takeField(rest);
  ctrl.port = boost::lexical_cast<std::uint16_t>(takeField(rest));
  ctrl.speed = takeField(rest);
  ctrl.interface = takeField(rest);
  replaceKey(ctrl.inkey, takeField(rest));
  replaceKey(ctrl.outkey, takeField(rest));
  ctrl.lastRequest = line;
}

// A number that is in the list from earlier keeps its place there.
void hold(RxCtrl& ctrl, int client) {
  std::list<int>& waiting = ctrl.waitingClients;
  if (std::find(waiting.begin(), waiting.end(), client) == waiting.end()) {
    waiting.push_back(client);
  }
}

// The list is not emptied: later lines go to the same descriptor numbers again, and to the clients that have
// them then. What is no client by now gets nothing, for a line has keys: the number may be that of the
// connection to syslog. Only the client being served stays connected.
void answerWaitingClients(const RxCtrl& ctrl, std::string_view message, int servedClient) {
  for (const int waiting : ctrl.waitingClients) {
    if (!ctrl.listener.hasClient(waiting)) {
      continue;
    }
    sendTo(waiting, message);
    if (waiting != servedClient) {
      close(waiting);
    }
  }
}

}  // namespace

int serveControlClient(RxCtrl& ctrl) {
  closeDepartedClients(ctrl);
  ulx::FileDescriptor client(acceptClient(ctrl.listener), true);
  keepFromWorkers(client.fd());
  const std::string message = receiveMessage(client.fd());
  const bool isQuery = message.size() == 1;
  if (isQuery && ctrl.port != 0) {
    answer(ctrl, client.release());
    return 0;
  }
  if (isQuery) {
    hold(ctrl, client.fd());
    client.release();
    return 0;
  }
  takeParameters(ctrl, message.c_str());  // up to the first NUL; waiting clients get every byte
  answerWaitingClients(ctrl, message, client.fd());
  return client.release();
}

std::string withoutKeys(std::string_view line) {
  constexpr int firstKeyField = 4;
  std::string shown;
  for (int field = 0;; ++field) {
    const std::size_t end = line.find(' ');
    shown += field < firstKeyField ? line.substr(0, end) : "***";
    if (end == std::string_view::npos) {
      return shown;
    }
    shown += ' ';
    line.remove_prefix(end + 1);
  }
}
