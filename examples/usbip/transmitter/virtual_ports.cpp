#include "examples/usbip/transmitter/virtual_ports.h"

#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <system_error>

#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/format.h"
#include "ulx/items.h"

namespace usbip {
namespace {

const std::string directory = "/sys/devices/platform/vhci_hcd.0/";

// One write: the kernel reads each as a request of its own.
void request(const std::string& attribute, const std::string& text) {
  ulx::FileDescriptor file(directory + attribute, O_WRONLY);
  file.write(text.data(), text.size());
}

// The first controller's status has no number behind its name.
std::string statusName(unsigned controller) {
  return controller == 0 ? "status" : "status." + std::to_string(controller);
}

std::optional<Hub> hubOf(std::string_view word) {
  if (word == "hs") {
    return Hub::highSpeed;
  }
  if (word == "ss") {
    return Hub::superSpeed;
  }
  return {};
}

std::vector<std::string_view> wordsOf(std::string_view line) {
  std::vector<std::string_view> words;
  ulx::forEachItem(line, ' ', [&words](std::string_view word) {
    if (!word.empty()) {
      words.push_back(word);
    }
  });
  return words;
}

std::optional<unsigned> numberIn(std::string_view word) {
  unsigned number = 0;
  const char* const end = word.data() + word.size();
  const auto result = std::from_chars(word.data(), end, number);
  return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

std::optional<VirtualPort> parsePort(std::string_view line) {
  // hub port state speed devid sockfd local_busid
  constexpr std::size_t fields = 7;
  const std::vector<std::string_view> words = wordsOf(line);
  if (words.size() != fields) {
    return {};
  }
  const std::optional<Hub> hub = hubOf(words[0]);
  const std::optional<unsigned> number = numberIn(words[1]);
  const std::optional<unsigned> state = numberIn(words[2]);
  const std::optional<unsigned> speed = numberIn(words[3]);
  if (!hub || !number || !state || !speed) {
    return {};
  }
  return VirtualPort{.hub = *hub,
                     .number = *number,
                     .state = VirtualPort::State{*state},
                     .speed = *speed,
                     .localBusId = std::string(words[6])};
}

}  // namespace

std::optional<Hub> hubFor(Speed speed) {
  switch (speed) {
    case Speed::low:
    case Speed::full:
    case Speed::high:
      return Hub::highSpeed;
    case Speed::super:
      return Hub::superSpeed;
    case Speed::superPlus:
      break;
  }
  return {};
}

std::vector<VirtualPort> parsePorts(std::string_view status) {
  std::vector<VirtualPort> ports;
  ulx::forEachItem(status, '\n', [&ports](std::string_view line) {
    if (const std::optional<VirtualPort> port = parsePort(line)) {
      ports.push_back(*port);
    }
  });
  return ports;
}

std::vector<VirtualPort> readPorts() {
  std::vector<VirtualPort> all;
  unsigned controller = 0;
  while (const auto status = ulx::FileDescriptor::contentOf(directory + statusName(controller))) {
    const std::vector<VirtualPort> ports = parsePorts(*status);
    all.insert(all.end(), ports.begin(), ports.end());
    ++controller;
  }
  if (controller == 0) {
    throw ulx::StrException("the driver vhci_hcd is not loaded: modprobe vhci-hcd");
  }
  return all;
}

void expectAttachable() {
  (void)readPorts();
  const ulx::FileDescriptor writable(directory + "attach", O_WRONLY);
}

std::vector<VirtualPort> freePortsOf(Hub hub, const std::vector<VirtualPort>& ports) {
  std::vector<VirtualPort> free;
  std::copy_if(ports.begin(), ports.end(), std::back_inserter(free), [hub](const VirtualPort& port) {
    return port.hub == hub && port.state == VirtualPort::State::free;
  });
  return free;
}

unsigned attach(const Offer& device, int socket, const std::vector<VirtualPort>& ports) {
  for (auto port = ports.begin();; ++port) {
    try {
      request("attach", ulx::formatString("%u %d %u %u", port->number, socket, device.devId,
                                          static_cast<unsigned>(device.speed)));
      return port->number;
    } catch (const ulx::DeviceOrResourceBusy&) {
      // Another program has taken it since its state was read.
      if (std::next(port) == ports.end()) {
        throw;
      }
    }
  }
}

void detach(unsigned port) {
  request("detach", std::to_string(port));
}

}  // namespace usbip
