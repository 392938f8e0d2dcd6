#include "demo/real/keyboard_of_far_machine.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>

#include "sim/deadline.h"
#include "sim/wait.h"

namespace demo {

namespace {

constexpr const char* findNode =
    "find /sys/devices/platform/vhci_hcd.0 -name 'event[0-9]*' | sed 's|.*/||' | grep .";

/** Codes of linux/input-event-codes.h, for what the demo types. */
char letterOf(unsigned code) {
  static const std::map<unsigned, char> letters{{KEY_H, 'h'}, {KEY_E, 'e'}, {KEY_L, 'l'}, {KEY_O, 'o'}};
  const auto found = letters.find(code);
  return found == letters.end() ? '?' : found->second;
}

}  // namespace

KeyboardOfFarMachine::KeyboardOfFarMachine(pair::FarMachine& far) : far_(far) {
  far_.waitUntil(findNode);
  const std::string node = "/dev/input/" + far_.read(findNode);
  far_.waitUntil("[ -e " + node + " ]");
  far_.read("cat " + node + " >/tmp/keys & echo $! >/tmp/keys.pid");
  far_.waitUntil("ls -l /proc/$(cat /tmp/keys.pid)/fd | grep -q " + node);
}

KeyboardOfFarMachine::~KeyboardOfFarMachine() {
  far_.call("kill $(cat /tmp/keys.pid)");
}

std::string KeyboardOfFarMachine::waitForKeys(std::size_t count) {
  std::string keys;
  const sim::Deadline deadline;
  while (keys.size() < count && !deadline.passed()) {
    keys = pressed();
    sim::serveBackground(deadline.atMost(0.02));
  }
  return keys;
}

// struct input_event of a 64-bit machine as twelve numbers of 16 bits: eight of time, then type, code and value.
std::string KeyboardOfFarMachine::pressed() {
  std::istringstream numbers(far_.read(R"(hexdump -v -e '12/2 "%u " "\n"' /tmp/keys)"));
  std::string keys;
  std::array<unsigned, 12> event{};
  while (std::ranges::all_of(event, [&](unsigned& number) { return static_cast<bool>(numbers >> number); })) {
    if (event[8] == EV_KEY && event[10] == 1) {
      keys += letterOf(event[9]);
    }
  }
  return keys;
}

}  // namespace demo
