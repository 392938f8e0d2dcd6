#include "demo/real/scenes.h"

#include <chrono>
#include <optional>
#include <thread>

#include "demo/real/keyboard_of_far_machine.h"
#include "kernel/guest/machine.h"
#include "sim/contract.h"
#include "sim/error.h"
#include "ulx/format.h"

namespace demo {

namespace {

/** A file of the emulator's, whose bytes nobody can foresee. */
constexpr const char* randomDisk = "random.disk";

constexpr const char* attached = "is attached at port";
constexpr const char* hasGone = "has gone";
constexpr const char* linkIsLost = "the link is lost";

/** The time since its construction. */
class StopWatch {
 public:
  /** "1.4 s" */
  [[nodiscard]] std::string text() const {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    return ulx::formatString("%.1f s", passed.count());
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

void require(bool holds, const std::string& complaint) {
  if (!holds) {
    throw sim::Error(complaint);
  }
}

/** What is plugged in, and what the steps do with it. */
class Travels {
 public:
  explicit Travels(BothMachines& machines) : machines_(machines) {}

  std::string startBoth();
  std::string plugDisk();
  std::string plugKeyboard();
  std::string typeHello();
  std::string plugSpeaker();
  std::string cutWire();
  std::string healWire();
  std::string unplugKeyboard();
  std::string stopFarSide();
  std::string waitInVain();
  std::string startFarSideAgain();
  std::string unplugDisk();

 private:
  std::string awaitFar(const char* text) { return machines_.await(writer::farSide, text); }
  std::string compareDisk();
  void requireListed(const std::string& text);

  BothMachines& machines_;
  std::optional<guest::PluggedDevice> disk_;
  std::optional<guest::PluggedDevice> keyboard_;
};

std::string Travels::compareDisk() {
  machines_.far.waitUntil("[ -b /dev/sda ]");
  const std::string digest = machines_.far.read(
      "dd if=/dev/sda bs=64k iflag=direct 2>/dev/null | sha256sum | cut -c-64", sim::Deadline(30));
  require(digest == guest::machineSetting("RANDOM_DISK_SHA256"),
          "its bytes are not the same there: SHA-256 " + digest);
  return "SHA-256 " + digest.substr(0, 12) + "... on both sides";
}

void Travels::requireListed(const std::string& text) {
  const std::string list = machines_.far.read("usb_tx_usbip --list");
  require(list.find(text) != std::string::npos, "usb_tx_usbip --list prints " + list);
}

std::string Travels::startBoth() {
  machines_.startFarSide();
  machines_.startDaemon();
  machines_.deliverLink();
  return "The far side listens; the daemon starts usb_rx_usbip for each device.";
}

std::string Travels::plugDisk() {
  const StopWatch watch;
  disk_ = machines_.desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
  awaitFar(attached);
  const std::string time = watch.text();
  machines_.await(writer::display, contract::display::attached(disk_->device.product));
  return "Attached there after " + time + ". " + compareDisk() + ".";
}

std::string Travels::plugKeyboard() {
  const StopWatch watch;
  keyboard_ = machines_.desk.plug(guest::keyboard(), guest::socketOf("xhci", 1));
  awaitFar(attached);
  return "Attached there after " + watch.text() + ".";
}

std::string Travels::typeHello() {
  KeyboardOfFarMachine keyboard(machines_.far);
  const std::string word = "hello";
  for (const char letter : word) {
    guest::thisMachine().execute(
        "send-key", std::string(R"({"keys": [{"type": "qcode", "data": ")") + letter + R"("}]})");
  }
  const std::string arrived = keyboard.waitForKeys(word.size());
  require(arrived == word, "there it reads \"" + arrived + "\"");
  return "The far machine reads \"" + arrived + "\" from its new keyboard.";
}

std::string Travels::plugSpeaker() {
  const guest::PluggedDevice speaker = machines_.desk.plug(guest::speaker(), guest::fullSpeedSocket(1));
  machines_.await(writer::display, contract::display::isochronous(speaker.device.product));
  machines_.desk.takeOut(speaker);
  return "It stays here: sound does not go over the link. The display says so.";
}

std::string Travels::cutWire() {
  const StopWatch watch;
  machines_.wire.cut();
  for (int device = 0; device < 2; ++device) {
    machines_.await(writer::worker, linkIsLost);
    awaitFar(hasGone);
  }
  return "Both sides have noticed after " + watch.text() + ", though no network card saw its cable go.";
}

std::string Travels::healWire() {
  const StopWatch watch;
  machines_.wire.heal();
  awaitFar(attached);
  awaitFar(attached);
  return "Both devices are back after " + watch.text() + ". " + compareDisk() + ".";
}

std::string Travels::unplugKeyboard() {
  const StopWatch watch;
  machines_.desk.takeOut(*keyboard_);
  awaitFar(hasGone);
  return "It has gone there, too, after " + watch.text() + ".";
}

std::string Travels::stopFarSide() {
  // The daemon forgets earlier failures once nothing has happened for three seconds.
  std::this_thread::sleep_for(std::chrono::milliseconds(3500));
  machines_.report();
  const StopWatch watch;
  machines_.stopFarSide();
  for (const unsigned count : {1U, 3U, 5U, 7U, 9U}) {
    machines_.await(writer::daemon, "still present; restarting " + std::to_string(count));
  }
  machines_.await(writer::display, contract::display::noTransmitter(disk_->device.product));
  return "Five failures in " + watch.text() + ": now the display says what is missing.";
}

std::string Travels::waitInVain() {
  machines_.await(writer::daemon, "RxGeneric exited due to timeout");
  return "The worker was started with --timeout 10, and has waited; the next one waits on.";
}

std::string Travels::startFarSideAgain() {
  machines_.startFarSide();
  const StopWatch watch;
  awaitFar(attached);
  return "The waiting worker finds it: attached after another " + watch.text() + ". " + compareDisk() + ".";
}

std::string Travels::unplugDisk() {
  const StopWatch watch;
  machines_.desk.takeOut(*disk_);
  awaitFar(hasGone);
  machines_.await(writer::worker, hasGone);
  const std::string time = watch.text();
  requireListed("nothing is attached");
  return "Gone there after " + time + "; the worker has ended, and every port there is free.";
}

}  // namespace

void showTravels(BothMachines& machines, Steps& steps) {
  Travels travels(machines);
  steps.show("The far side and the daemon are started", [&] { return travels.startBoth(); });
  steps.show("You plug a disk into the receiver", [&] { return travels.plugDisk(); });
  steps.show("You plug in a keyboard", [&] { return travels.plugKeyboard(); });
  steps.show("You type \"hello\"", [&] { return travels.typeHello(); });
  steps.show("You plug in a speaker", [&] { return travels.plugSpeaker(); });
  steps.show("Somebody cuts the wire between the machines", [&] { return travels.cutWire(); });
  steps.show("The wire is healed", [&] { return travels.healWire(); });
  steps.show("You unplug the keyboard", [&] { return travels.unplugKeyboard(); });
  steps.show("The far side is stopped", [&] { return travels.stopFarSide(); });
  steps.show("Nobody starts it for a while", [&] { return travels.waitInVain(); });
  steps.show("The far side is started again", [&] { return travels.startFarSideAgain(); });
  steps.show("You unplug the disk", [&] { return travels.unplugDisk(); });
}

}  // namespace demo
