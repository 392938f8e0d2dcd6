#pragma once

#include <string>

/**
 * Every text that others rely on, once, as the daemon writes it: the display, logs and error messages. Tests
 * and the demo name a text; only here, and in the product, it is spelt. Misspellings are part of it.
 */
namespace contract {

inline constexpr const char* configurationPath = "/vel/quor.conf";

/** Lines of the display, each without its newline. */
namespace display {
inline constexpr const char* unnamedDevice = "un-named device";

inline std::string attached(const std::string& name) {
  return name + " attached";
}
inline std::string smartcard(const std::string& name) {
  return name + "local smartcard security";
}
inline std::string nonHid(const std::string& name) {
  return name + " is not supported because it has non-HID endpoints";
}
inline std::string massStorage(const std::string& name) {
  return name + " configuration blocked due to mass storage capability";
}
inline std::string isochronous(const std::string& name) {
  return name + " is not supported because it has isochronous endpoints";
}
inline std::string highSpeed(const std::string& name) {
  return "High speed " + name + " is not supported on a full speed only port";
}
inline std::string noTransmitter(const std::string& name) {
  return "<0>" + name + " cannot be attached until Transmitter available";
}
inline std::string cannotBeConfigured(const std::string& name) {
  return "<0>" + name + " cannot be configured; please remove any intermediate hubs and/or device";
}
}  // namespace display

/** Debug messages, each without its tag. */
namespace debug {
inline constexpr const char* tag = "[rx_ctrl] ";

/** A whole line of the log, without the time. */
inline std::string line(const std::string& text) {
  return tag + text;
}

inline constexpr const char* hangupHandler = "setup signal hansler";
inline constexpr const char* coldplugging = "coldplugging existing devices";
inline constexpr const char* coldpluggingKeyboards = "coldplugging keyboards";
inline constexpr const char* coldpluggingStorage = "colplugging storage devices";
inline constexpr const char* hotplugging = "hotplugging new devices";

inline constexpr const char* alreadyHandled = "a subprocess is already handling this device";
inline constexpr const char* eventIgnored = "Exception while processing uevent; ignored.";
inline constexpr const char* scsiGeneric = "this is a generic scsi device";
inline constexpr const char* hid = "this is HID device";
inline constexpr const char* hub = "this is a hub device";
inline constexpr const char* keyboard = "this is a keyboard device";
inline constexpr const char* storage = "this is a storage device";
inline constexpr const char* unsupported = "this is an unsupported USB device";
inline constexpr const char* generic = "this is a generic USB device";
inline constexpr const char* undetermined = "timed out waiting to determine sort of USB thing";
inline constexpr const char* isochronousFound = "Isochronous endpoint found - device not supported";
inline constexpr const char* noIsochronousFound = "  no iso endpoints found, this is supported.";

inline constexpr const char* waitedInVain = "RxGeneric exited due to timeout";
inline constexpr const char* unknownChild = "don't know what that subprocess was; maybe insmod";

inline std::string event(const std::string& action, const std::string& devpath) {
  return action + " " + devpath;
}
inline std::string subsystem(const std::string& name) {
  return "subsystem is '" + name + "'";
}
inline std::string startingScsi(const std::string& directory) {
  return "starting usb_rx_scsi for " + directory;
}
inline std::string startingKeyboard(const std::string& directory, const std::string& deviceNumber) {
  return "starting usb_rx_keyboard for " + directory + " (" + deviceNumber + ")";
}
inline std::string startingGeneric(const std::string& directory) {
  return "starting usb_rx_generic for " + directory;
}
inline std::string terminated(int pid) {
  return "subprocess " + std::to_string(pid) + " has terminated";
}
inline std::string bySignal(int signal) {
  return "  terminated due to signal " + std::to_string(signal);
}
inline std::string withStatus(int status) {
  return "  exited with status " + std::to_string(status);
}
inline std::string stillPresent(const std::string& directory) {
  return "device " + directory + " still present; sleep again";
}
inline std::string restarting(const std::string& directory, unsigned count) {
  return "device " + directory + " still present; restarting " + std::to_string(count);
}
inline std::string gone(const std::string& directory) {
  return "device " + directory + " has gone";
}
inline std::string immediateSend(const std::string& line, int descriptor) {
  return "immediate send " + line + " to " + std::to_string(descriptor);
}
inline std::string moduleNotFound(const std::string& module) {
  return "didn't find module " + module;
}
}  // namespace debug

/** Texts written as they stand, or as the text of an error. */
namespace error {
inline constexpr const char* usage =
    "Usage: usb_rx_ctrl [--class={none,keyboard,scsi,all}] [--debug={ctrl,generic,keyboard,scsi}]"
    " [--syslog|--stderr] [--keys <inkey> <outkey>]  [--sock=<socketpath>] [--intf=<networkconn>]"
    " <hostname> <port> <speed>\n";
inline constexpr const char* execFailed = "[RxCtrl] *** subprocess exec() failed; maybe not found? ***\n";
inline constexpr const char* badNumber =
    "bad lexical cast: source type value could not be interpreted as target";
inline constexpr const char* shorterThanPeeked =
    "warning, NetlinkClientSocket::recvfrom length disagrees with peek\n";
inline constexpr const char* notADevice = "Not a device descriptor";
inline constexpr const char* moduleMissing = "module not found";
inline constexpr const char* cannotLock = "Config unable to set lock\n";

inline std::string invalidItem(const std::string& item) {
  return "Invalid debug option '" + item + "'\n";
}
inline std::string cannotOpenConfig(const std::string& path) {
  return "Config failed to open file '" + path + "\n";
}
inline std::string cannotLoadConfig(const std::string& path) {
  return "configuration \"" + path + "\" cannot be loaded; defaults apply";
}
/** The text of a failed call, as in "No such file or directory while open(...)". */
inline std::string whileCalling(const std::string& reason, const std::string& call) {
  return reason + " while " + call;
}
inline std::string bindFailed(const std::string& reason) {
  return whileCalling(reason, "bind()");
}
inline std::string openFailed(const std::string& reason, const std::string& path) {
  return whileCalling(reason, "open(\"" + path + "\")");
}
inline std::string readFailed(const std::string& reason, const std::string& path) {
  return whileCalling(reason, "read(\"" + path + "\")");
}
inline std::string statFailed(const std::string& reason, const std::string& path) {
  return whileCalling(reason, "stat(" + path + ")");
}
}  // namespace error

/** What the system calls the reasons of failed calls. */
namespace reason {
inline constexpr const char* addressInUse = "Address already in use";
inline constexpr const char* invalidArgument = "Invalid argument";
inline constexpr const char* isDirectory = "Is a directory";
inline constexpr const char* noSuchFile = "No such file or directory";
inline constexpr const char* notDirectory = "Not a directory";
inline constexpr const char* readOnly = "Read-only file system";
inline constexpr const char* tooManyFiles = "Too many open files";
inline constexpr const char* tooManyLinks = "Too many levels of symbolic links";
}  // namespace reason

}  // namespace contract
