#include "bench/kernel_events.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <string_view>

#include "sim/error.h"

namespace bench {

namespace {

sockaddr_nl addressOf(std::uint32_t port) {
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_pid = port;
  return address;
}

}  // namespace

KernelEvents::KernelEvents()
    : socket_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT)) {
  // Bound, but to no group: it receives nothing of what it sends.
  const sockaddr_nl any = addressOf(0);
  if (!socket_.isOpen() || ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0) {
    throw sim::systemError("socket(uevents)");
  }
}

void KernelEvents::send(const std::string& action, const std::string& devpath,
                        const sim::UeventPairs& pairs) const {
  std::string event = sim::uevent(action, devpath, pairs);
  nlmsghdr header{};
  header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + event.size());
  header.nlmsg_type = NLMSG_MIN_TYPE;
  header.nlmsg_flags = NLM_F_REQUEST;

  sockaddr_nl kernel = addressOf(0);
  std::array<iovec, 2> parts{{{&header, sizeof header}, {event.data(), event.size()}}};
  msghdr message{};
  message.msg_name = &kernel;
  message.msg_namelen = sizeof kernel;
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  if (::sendmsg(socket_.get(), &message, 0) == -1) {
    throw sim::systemError("handing a uevent to the kernel");
  }
}

void KernelEvents::plug(const std::string& directory) const {
  constexpr std::string_view mountPoint = "/sys";
  send("add", directory.substr(mountPoint.size()), {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_device"}});
}

}  // namespace bench
