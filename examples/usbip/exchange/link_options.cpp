#include "examples/usbip/exchange/link_options.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <string_view>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

void setOption(int socket, int level, int option, int value, std::string_view name) {
  if (::setsockopt(socket, level, option, &value, sizeof value) != 0) {
    ulx::throwErrno({"setsockopt(", name, ")"}, errno);
  }
}

}  // namespace

void prepareLink(int socket) {
  // The first probe after 4 seconds of silence, and two more.
  constexpr int idleSeconds = 4;
  constexpr int secondsBetweenProbes = 2;
  constexpr int probes = (silenceLimit - idleSeconds) / secondsBetweenProbes;
  constexpr int millisecondsPerSecond = 1000;

  setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1, "TCP_NODELAY");
  setOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1, "SO_KEEPALIVE");
  setOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, idleSeconds, "TCP_KEEPIDLE");
  setOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, secondsBetweenProbes, "TCP_KEEPINTVL");
  setOption(socket, IPPROTO_TCP, TCP_KEEPCNT, probes, "TCP_KEEPCNT");
  setOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, silenceLimit * millisecondsPerSecond, "TCP_USER_TIMEOUT");
}

}  // namespace usbip
