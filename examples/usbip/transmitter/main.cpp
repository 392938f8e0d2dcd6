// The far side of usb_rx_usbip: attaches the devices that it brings.

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "examples/usbip/exchange/failure_line.h"
#include "examples/usbip/exchange/log.h"
#include "examples/usbip/exchange/standard_descriptors.h"
#include "examples/usbip/transmitter/command_line.h"
#include "examples/usbip/transmitter/key_file.h"
#include "examples/usbip/transmitter/port_list.h"
#include "examples/usbip/transmitter/server.h"
#include "examples/usbip/transmitter/virtual_ports.h"
#include "ulx/exceptions.h"
#include "ulx/file_descriptor.h"
#include "ulx/write_once.h"

namespace {

constexpr const char* program = "usb_tx_usbip";

void printAnswer(const std::string& text) {
  ulx::FileDescriptor(STDOUT_FILENO, false).writeAll(text.data(), text.size());
}

usbip::Admission admissionOf(const usbip::Arguments& arguments) {
  usbip::Admission admission{.keys = {}, .anyPeer = arguments.anyPeer};
  if (!arguments.keyFile.empty()) {
    admission.keys = usbip::readKeyFile(arguments.keyFile);
  }
  return admission;
}

void serve(const usbip::Arguments& arguments, const usbip::Log& log) {
  const usbip::Admission admission = admissionOf(arguments);
  usbip::expectAttachable();
  usbip::Server server(arguments.port, admission, log);
  log.print("listening on port " + std::to_string(arguments.port));
  server.serve();
}

void run(const usbip::Arguments& arguments, const usbip::Log& log) {
  switch (arguments.action) {
    case usbip::Action::help:
      printAnswer(std::string(usbip::usage) + "\n" + usbip::help);
      break;
    case usbip::Action::list:
      printAnswer(usbip::listAttached(usbip::readPorts()));
      break;
    case usbip::Action::serve:
      serve(arguments, log);
      break;
  }
}

int runLogged(const usbip::Arguments& arguments) {
  const usbip::Log log(
      program, arguments.toSyslog ? usbip::LogDestination::syslog : usbip::LogDestination::standardError,
      arguments.debugging);
  try {
    run(arguments, log);
    return EXIT_SUCCESS;
  } catch (const ulx::Exception& e) {
    log.error(usbip::failureLine(e));
  } catch (const std::exception& e) {
    log.error(e.what());
  }
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  usbip::fillStandardDescriptors();
  const std::vector<std::string> words(argv + 1, argv + argc);
  const std::optional<usbip::Arguments> arguments = usbip::parseArguments(words);
  if (!arguments) {
    ulx::writeOnce(STDERR_FILENO, usbip::usage);
    return EXIT_FAILURE;
  }
  return runLogged(*arguments);
}
