#include "demo/real/keyboard_of_far_machine.h"

#include <linux/input-event-codes.h>

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

// struct input_event of a 64-bit machine: 16 bytes of time, then type, code and value, little-endian.
std::string KeyboardOfFarMachine::pressed() {
  std::istringstream events(far_.read(R"(hexdump -v -e '16/1 "" 2/2 "%u " 1/4 "%u\n"' /tmp/keys)"));
  std::string keys;
  unsigned type = 0;
  unsigned code = 0;
  unsigned value = 0;
  while (events >> type >> code >> value) {
    if (type == EV_KEY && value == 1) {
      keys += letterOf(code);
    }
  }
  return keys;
}

}  // namespace demo
