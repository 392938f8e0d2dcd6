// What is typed on a keyboard at the receiver arrives at the far machine.

#include "kernel/pair/travel.h"

namespace pair {
namespace {

/** The codes of the keys that were pressed, as `hexdump` of input events prints them. */
constexpr const char* printPressedKeys =
    // type EV_KEY, code, value 1 of each struct input_event (64 bits: 16 bytes of time come before)
    "hexdump -v -e '24/1 \"%02x \" \"\\n\"' /tmp/keys | sed -n 's/^\\(.. \\)\\{16\\}01 00 \\(..\\) 00 01 "
    "00.*/\\2/p' | tr '\\n' ' '";

class TravellingKeyboard : public Travel {
 protected:
  static void press(const std::string& key) {
    guest::thisMachine().execute("send-key", R"({"keys": [{"type": "qcode", "data": ")" + key + R"("}]})");
  }
};

TEST_F(TravellingKeyboard, TypesOnTheFarMachine) {
  startBothEnds();
  desk.plug(guest::keyboard(), guest::highSpeedSocket(1));
  farProgram.waitForAttached();
  const std::string reader = far.read(
      "node=$(until ls -d /sys/devices/platform/vhci_hcd.*/usb*/*/*/*/input/input*/event*; do usleep 20000; "
      "done "
      "2>/dev/null)\n"
      "cat /dev/input/${node##*/} >/tmp/keys &\necho $!");
  far.waitUntil("ls -l /proc/" + reader + "/fd | grep -q /dev/input/event");
  const StopWatch sincePressed;
  press("a");
  press("b");
  press("c");
  far.waitUntil(std::string("[ \"$(") + printPressedKeys + ")\" = '1e 30 2e ' ]");  // KEY_A, KEY_B, KEY_C
  sincePressed.print("from three keys pressed to their arrival");
  far.read("kill " + reader);
}

}  // namespace
}  // namespace pair
