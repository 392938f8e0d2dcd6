#include "demo/scenes.h"

#include "sim/contract.h"

namespace demo {

namespace {

using namespace contract::display;
namespace debug = contract::debug;

const std::string usb = "/sys/devices/pci0000:00/0000:00:03.0/usb1/";
const std::string link = "transmitter 5000 high eth1 key1 key2";
const std::string generic = "usb_rx_generic";

Line says(const std::string& message) {
  return {"daemon", debug::tag + message};
}

Line shows(const std::string& text) {
  return {"display", "[" + text + "]"};
}

Line starts(int worker, const std::string& command) {
  return {"worker", "#" + std::to_string(worker) + " starts: " + command};
}

/** A generic worker, as it is started with `link`. */
Line startsFor(const std::string& port, int worker, const std::string& option = "") {
  return starts(worker, generic + " --keys key1 key2 " + option + "eth1 transmitter 5000 " + usb + port);
}

Line ends(int worker, const std::string& how = "", const std::string& program = generic) {
  return {"worker", "#" + std::to_string(worker) + " " + program + " has ended" + how};
}

std::vector<Line> admitted(const std::string& port, int worker, const std::string& name) {
  return {says(debug::generic), startsFor(port, worker), shows(attached(name))};
}

std::vector<Line> refused(const std::string& text) {
  return {says(debug::unsupported), shows(text)};
}

const std::string withItsDevice = " with status 0: its device has gone";
const Line answered = {"link", "receives \"" + link + "\""};
const Line daemonEnds = {"daemon", "has ended with status 0"};

void startWithLink(const Step& step) {
  step("The unit starts, and the link manager tells where the Transmitter is",
       {"start --debug=ctrl transmitter 0 high", "link " + link}, {says(debug::hotplugging)},
       "The daemon waits for devices.");
}

void linkNotKnownYet(const Step& step) {
  step("The unit starts; where the Transmitter is, nobody knows yet: the port is 0",
       {"start --debug=ctrl transmitter 0 high"}, {says(debug::coldplugging), says(debug::hotplugging)},
       "No device is plugged in; the daemon waits.");
  step("A tool of the unit asks for the link parameters", {"query"},
       {{"link", "is kept waiting for an answer"}},
       "It gets no answer as long as the parameters are not known.");
  step("You plug in a mouse", {"plug mouse-fs"},
       {says(debug::generic), starts(1, generic + " eth1 transmitter 0 " + usb + "1-1")},
       "It has its worker; the display says nothing before there is a link.");
  step("The link manager delivers the parameters", {"link " + link},
       {shows(attached("QEMU USB Mouse")), answered},
       "The tool gets its answer; what is plugged in is announced.");
  step("Another tool asks", {"query"}, {answered}, "It is answered at once.");
  step("You unplug the mouse", {"unplug mouse-fs"}, {ends(1, withItsDevice)},
       "The worker ends by itself; the daemon forgets it.");
  step("The link manager goes", {"hangup"}, {daemonEnds},
       "So does the daemon, with status 0: whoever started it starts it again.");
}

void defaultPolicy(const Step& step) {
  startWithLink(step);
  step("You plug in a hub with a mouse on it", {"plug hub-mouse"},
       {says(debug::hub), says(debug::generic), startsFor("1-1/1-1.1", 1), shows(attached("QEMU USB Mouse"))},
       "The hub is of no interest; the mouse behind it is admitted.");
  step("You plug in a serial adapter", {"plug serial"}, admitted("1-2", 2, "QEMU USB SERIAL"),
       "Admitted: its worker carries it to the Transmitter.");
  step("You plug in a speaker", {"plug audio"}, refused(isochronous("QEMU USB Audio")),
       "Refused: sound and video do not go over the link unless the unit is told to let them.");
  step("The Transmitter moves to another port", {"link transmitter 6000 high eth1 key1 key2"},
       {shows(attached("QEMU USB Mouse")), shows(attached("QEMU USB SERIAL"))},
       "Each device that has a worker is announced again; the speaker has none.");
  step("You unplug the hub", {"unplug hub-mouse"}, {ends(1, withItsDevice)}, "The mouse goes with it.");
}

void policyChanges(const Step& step) {
  startWithLink(step);
  step("You plug in a disk", {"plug storage-hs"}, admitted("1-1", 1, "QEMU USB HARDDRIVE"),
       "Admitted, as there is no rule against it.");
  step("The administrator blocks mass storage; you plug in another disk",
       {"policy usb:block_mass_storage yes", "plug made-disk-two-configs"},
       refused(massStorage("Two Plan Disk")),
       "Refused, from this device on: the first disk keeps its worker.");
  step("The administrator reserves smart cards for the unit; you plug in a card reader",
       {"policy usb:smartcard yes", "plug ccid"}, refused(smartcard("QEMU USB CCID")),
       "Refused. (The message goes without a blank after the name.)");
  step("The administrator admits input devices only; you plug in a media player",
       {"policy usb:hid_only yes", "plug mtp-hs"}, refused(nonHid("QEMU filesharing")), "Refused.");
  step("You plug in a mouse", {"plug mouse-fs"}, admitted("1-5", 2, "QEMU USB Mouse"),
       "Admitted, even under all these rules.");
  step("The administrator switches off the warning about sound and video; you plug in a camera",
       {"policy usb:hid_only default usb:isochronous_user_warning no", "plug made-camera-hs"},
       {says(debug::unsupported)}, "Refused without a word on the display; the log says why.");
  step("The administrator admits sound and video; you unplug the camera and plug it in again",
       {"policy usb:isochronous_enabled yes", "unplug made-camera-hs", "plug made-camera-hs"},
       admitted("1-6", 3, "Desk Camera"), "Admitted.");
}

void fullSpeedLink(const Step& step) {
  startWithLink(step);
  step("You plug in a high-speed device", {"plug made-vendor-hs"}, admitted("1-1", 1, "Vendor Thing"),
       "Admitted: the link is fast enough.");
  step("You plug in a serial adapter, which is of full speed", {"plug serial"},
       admitted("1-2", 2, "QEMU USB SERIAL"), "Admitted.");
  step("The link falls to full speed", {"link transmitter 5000 full eth1 key1 key2", "await 1"},
       {ends(1), says(debug::unsupported), shows(attached("QEMU USB SERIAL")),
        shows(highSpeed("Vendor Thing"))},
       "The daemon ends the worker of the high-speed device, and then refuses the device.");
  step("You plug in another high-speed device", {"plug tablet-hs"}, refused(highSpeed("QEMU USB Tablet")),
       "Refused.");
  step("The link is fast again; you unplug the device and plug it in again",
       {"link " + link, "unplug tablet-hs", "plug tablet-hs"},
       {says(debug::generic), startsFor("1-3", 3), shows(attached("QEMU USB SERIAL")),
        shows(attached("QEMU USB Tablet"))},
       "Admitted.");
}

void workersOfTheirOwn(const Step& step) {
  const std::string talkative = " --debug --stderr ";
  const std::string disk = usb + "1-2/1-2:1.0/host2/target2:0:0/2:0:0:0/scsi_generic/sg2";
  step("The unit starts with workers for keyboards and disks, all of them talkative, and with keys",
       {"start --class=all --debug=ctrl,generic,keyboard,scsi --keys 'desk 7' key2 "
        "--sock=/var/run/usb_rx_desk transmitter 5000 high"},
       {says(debug::hotplugging)}, "The daemon waits for devices.");
  step("The link manager delivers parameters without keys", {"link transmitter 5000 high eth1  "}, {},
       "The daemon keeps the keys that it was started with.");
  step("You plug in a keyboard", {"plug kbd-fs-hiddev"},
       {says(debug::keyboard), says(debug::hid),
        starts(1, "usb_rx_keyboard" + talkative + "eth1 transmitter 5001 180 0"),
        shows(attached("QEMU USB Keyboard"))},
       "Its hiddev node has a keyboard worker, on the next port.");
  step("You plug in a disk", {"plug storage-hs"},
       {says(debug::storage), says(debug::scsiGeneric),
        starts(2, "usb_rx_scsi" + talkative + "eth1 transmitter 5002 " + disk),
        shows(attached("QEMU     QEMU HARDDISK   "))},
       "Its SCSI node has a disk worker, on the port after that.");
  step(
      "You plug in something else", {"plug made-vendor-hs"},
      {says(debug::generic),
       starts(3, generic + talkative +
                     "--keys 'desk 7' key2 --sock=/var/run/usb_rx_desk eth1 transmitter 5000 " + usb + "1-3"),
       shows(attached("Vendor Thing"))},
      "It has a generic worker, which alone is told the keys and where to ask for new ones.");
  step("You unplug the keyboard", {"unplug kbd-fs-hiddev"}, {ends(1, withItsDevice, "usb_rx_keyboard")},
       "The worker ends by itself.");
  step("The link manager goes", {"hangup"},
       {daemonEnds, ends(3, " with the daemon"), {"worker", "#2 usb_rx_scsi runs on"}},
       "The daemon ends and takes generic workers with it; the disk stays in use.");
}

void pluggedInBefore(const Step& step) {
  const std::string disk = usb + "1-3/1-3:1.0/host4/target4:0:0/4:0:0:0/scsi_generic/sg4";
  step("The unit is off; you plug in a serial adapter, a keyboard, a disk and a speaker",
       {"plug serial", "plug kbd-fs-hiddev", "plug storage-hs", "plug audio"}, {},
       "Nobody listens to what the kernel announces.");
  step("The unit starts, with workers for keyboards and disks",
       {"start --class=all --debug=ctrl --keys key1 key2 --intf=eth1 transmitter 5000 high"},
       {says(debug::coldplugging), says(debug::unsupported), says(debug::generic), startsFor("1-1", 1),
        says(debug::coldpluggingKeyboards), says(debug::hid),
        starts(2, "usb_rx_keyboard eth1 transmitter 5001 180 2"), says(debug::coldpluggingStorage),
        says(debug::scsiGeneric), starts(3, "usb_rx_scsi eth1 transmitter 5002 " + disk),
        says(debug::hotplugging), shows(isochronous("QEMU USB Audio")), shows(attached("QEMU USB Keyboard")),
        shows(attached("QEMU     QEMU HARDDISK   "))},
       "It finds in sysfs what is plugged in, and handles it as if it had just come.");
  step("The link manager delivers the parameters", {"link " + link},
       {shows(attached("QEMU USB SERIAL")), shows(attached(unnamedDevice)), shows(attached(unnamedDevice))},
       "What has a worker is announced; the nodes of keyboard and disk have no name themselves.");
  step("You unplug the disk", {"unplug storage-hs"}, {ends(3, withItsDevice, "usb_rx_scsi")},
       "Its worker ends by itself, as for any other device.");
}

void workersFail(const Step& step) {
  const std::string device = usb + "1-1";
  const std::string timeout = "--timeout 10 ";
  const Line adapterAttached = shows(attached("QEMU USB SERIAL"));
  const Line adapterWaits = shows(noTransmitter("QEMU USB SERIAL"));
  startWithLink(step);
  step("You plug in a serial adapter", {"plug serial"},
       {says(debug::generic), startsFor("1-1", 1), adapterAttached}, "Admitted.");
  step("Its worker crashes", {"crash 1"},
       {ends(1, " by signal 9"), says(debug::bySignal(9)), says(debug::restarting(device, 1)),
        startsFor("1-1", 2), adapterAttached},
       "The adapter is still there: it gets another worker.");
  step("That one fails at once, and so do the next two", {"end 2 1", "end 3 1", "end 4 1"},
       {ends(2, " with status 1"), says(debug::restarting(device, 3)), startsFor("1-1", 3), adapterAttached,
        ends(3, " with status 1"), says(debug::restarting(device, 5)), startsFor("1-1", 4), adapterAttached,
        ends(4, " with status 1"), says(debug::restarting(device, 7)), startsFor("1-1", 5), adapterAttached},
       "Each failure counts, and so does each restart.");
  step("The fifth worker fails, too", {"end 5 1"},
       {ends(5, " with status 1"), says(debug::restarting(device, 9)), startsFor("1-1", 6, timeout),
        adapterWaits},
       "There is no Transmitter: the user is told, and the next worker waits for it.");
  step("That worker has waited in vain", {"end 6 28"},
       {ends(6, " with status 28"), says(debug::waitedInVain), startsFor("1-1", 7, timeout), adapterWaits},
       "The user is told again, and another one waits.");
  step("The Transmitter is back; the link manager says so, and the old connection breaks",
       {"link " + link, "end 7 1"},
       {adapterAttached, ends(7, " with status 1"), says(debug::restarting(device, 0)), startsFor("1-1", 8),
        adapterAttached},
       "Forgotten is what failed before: the adapter has an ordinary worker again.");
  step("You plug in a device that its worker cannot configure", {"plug made-vendor-hs", "end 9 5"},
       {startsFor("1-2", 9), shows(attached("Vendor Thing")), ends(9, " with status 5"),
        shows(cannotBeConfigured("Vendor Thing"))},
       "The user is told what to do about it; nothing is tried again.");
  step("You unplug the adapter", {"unplug serial"}, {ends(8, withItsDevice), says(debug::gone(device))},
       "Its worker ends, and nothing takes its place.");
}
}  // namespace

std::vector<Scene> scenes() {
  return {{"The link is not known yet", linkNotKnownYet},
          {"What may be used when nothing is configured", defaultPolicy},
          {"The administrator changes the policy", policyChanges},
          {"The link changes its speed", fullSpeedLink},
          {"Keyboards and disks with workers of their own", workersOfTheirOwn},
          {"Devices that were there before the daemon", pluggedInBefore},
          {"Workers that fail", workersFail}};
}

}  // namespace demo
