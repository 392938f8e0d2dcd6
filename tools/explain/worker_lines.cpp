#include "tools/explain/worker_lines.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ctrl/link.h"
#include "ctrl/settings.h"
#include "workers/launch.h"

namespace explain {

namespace {

constexpr const char* unknownHostname = "<hostname>";

TransmitterLink linkOf(const Circumstances& circumstances) {
  TransmitterLink link = circumstances.link;
  if (!circumstances.isTransmitterKnown) {
    link.hostname = unknownHostname;
    link.port = 0;  // what stands in a command line is then the worker's offset
  }
  return link;
}

// The port follows the host name.
WorkerArguments withUnknownPort(const Circumstances& circumstances, WorkerArguments arguments) {
  if (circumstances.isTransmitterKnown) {
    return arguments;
  }
  const auto hostname = std::find(arguments.rbegin(), arguments.rend(), unknownHostname);
  std::string& port = *(hostname - 1);
  port = port == "0" ? "<port>" : "<port>+" + port;
  return arguments;
}

// What nobody types as it is.
bool isPlaceholder(const std::string& argument) {
  constexpr std::array<std::string_view, 5> placeholders{unknownHostname, "<port>", "<port>+1", "<port>+2",
                                                         unknownDirectory};
  return std::ranges::find(placeholders, argument) != placeholders.end();
}

bool needsQuotes(const std::string& argument) {
  return argument.empty() || argument.find_first_not_of(
                                 "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                 "_-+=./,:@%") != std::string::npos;
}

std::string quoted(const std::string& argument) {
  if (isPlaceholder(argument) || !needsQuotes(argument)) {
    return argument;
  }
  std::string text = "'";
  for (const char c : argument) {
    text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return text + "'";
}

}  // namespace

WorkerArguments genericWorker(const Circumstances& circumstances, const std::string& devicePath) {
  const GenericOptions options{.program = genericProgram(),
                               .inkey = {},
                               .outkey = {},
                               .socketPath = defaultSocketPath,
                               .timeoutText = {}};
  return withUnknownPort(circumstances, genericArguments(workerLog(&Settings::debugGeneric), options,
                                                         linkOf(circumstances), devicePath));
}

WorkerArguments keyboardWorker(const Circumstances& circumstances, const DeviceAttributes& node) {
  return withUnknownPort(circumstances,
                         keyboardArguments(workerLog(&Settings::debugKeyboard), linkOf(circumstances),
                                           parseDeviceNumber(node.text("dev"))));
}

WorkerArguments scsiWorker(const Circumstances& circumstances, const std::string& node) {
  return withUnknownPort(circumstances,
                         scsiArguments(workerLog(&Settings::debugScsi), linkOf(circumstances), node));
}

std::string shellLine(const WorkerArguments& arguments) {
  std::string line;
  for (const std::string& argument : arguments) {
    line += (line.empty() ? "" : " ") + quoted(argument);
  }
  return line;
}

}  // namespace explain
