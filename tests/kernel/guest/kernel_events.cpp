#include "kernel/guest/kernel_events.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "sim/error.h"

namespace guest {

namespace {

constexpr unsigned kernelGroup = 1;
constexpr int receiveBuffer = 4 * 1024 * 1024;

sim::Descriptor listenToKernel() {
  sim::Descriptor socket(
      ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = kernelGroup;
  if (!socket.isOpen() ||
      ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &receiveBuffer, sizeof receiveBuffer) != 0 ||
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw sim::systemError("listening to the kernel's uevents");
  }
  return socket;
}

void addItem(KernelEvent& event, std::string_view text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string_view::npos) {
    return;  // the header repeats two of the items
  }
  event.items.emplace(text.substr(0, sign), text.substr(sign + 1));
}

KernelEvent parse(std::string_view datagram) {
  KernelEvent event;
  while (!datagram.empty()) {
    const std::size_t end = std::min(datagram.find('\0'), datagram.size() - 1);
    addItem(event, datagram.substr(0, end));
    datagram.remove_prefix(end + 1);
  }
  event.action = event.items["ACTION"];
  event.directory = "/sys" + event.items["DEVPATH"];
  return event;
}

}  // namespace

KernelEvents::KernelEvents()
    : socket_(listenToKernel()),
      source_(socket_.get(), [this] { readAll(); }),
      stateReport_([this] { return describe(); }) {}

template <class Predicate>
KernelEvent KernelEvents::waitForNext(const std::string& awaited, const Predicate& isAwaited) {
  auto found = events_.end();
  sim::waitUntil("the kernel's event " + awaited, {}, [&] {
    found = std::find_if(events_.begin(), events_.end(), isAwaited);
    return found != events_.end();
  });
  KernelEvent event = *found;
  events_.erase(found);
  return event;
}

KernelEvent KernelEvents::waitFor(const KernelEventSort& sort) {
  return waitForNext(sort.action + " of " + sort.value, [&](const KernelEvent& event) {
    const auto item = event.items.find(sort.key);
    return event.action == sort.action && item != event.items.end() && item->second == sort.value;
  });
}

void KernelEvents::waitFor(const std::string& action, const std::string& directory) {
  waitForNext(action + " of " + directory, [&](const KernelEvent& event) {
    return event.action == action && event.directory == directory;
  });
}

void KernelEvents::waitForDriverOf(const std::string& directory) {
  waitFor("bind", directory);
}

void KernelEvents::waitForRemovalOf(const std::string& directory) {
  waitFor("remove", directory);
  std::erase_if(events_, [&](const KernelEvent& event) {
    return event.directory == directory || event.directory.starts_with(directory + "/");
  });
}

void KernelEvents::readAll() {
  std::array<char, 8192> buffer{};
  for (ssize_t length = ::recv(socket_.get(), buffer.data(), buffer.size(), 0); length > 0;
       length = ::recv(socket_.get(), buffer.data(), buffer.size(), 0)) {
    events_.push_back(parse({buffer.data(), static_cast<std::size_t>(length)}));
  }
}

std::string KernelEvents::describe() const {
  std::string text = "uevents that nothing has waited for:\n";
  for (const KernelEvent& event : events_) {
    text += "  " + event.action + " " + event.directory + "\n";
  }
  return text;
}

}  // namespace guest
