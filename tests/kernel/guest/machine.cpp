#include "kernel/guest/machine.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "sim/error.h"
#include "sim/wait.h"

namespace guest {

namespace {

/** A byte at which the monitor drops a text that it has received in part. */
constexpr const char* startAnew = "\xff\n";

/** Without echo, and with reads that take what is there: the monitor must not read its own output. */
void makeRaw(const sim::Descriptor& port) {
  termios settings{};
  if (::tcgetattr(port.get(), &settings) != 0) {
    throw sim::systemError("tcgetattr(monitor)");
  }
  ::cfmakeraw(&settings);
  settings.c_cc[VMIN] = 0;
  settings.c_cc[VTIME] = 0;
  if (::tcsetattr(port.get(), TCSAFLUSH, &settings) != 0) {
    throw sim::systemError("tcsetattr(monitor)");
  }
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

Machine::Machine(const std::string& port) : port_(::open(port.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  if (!port_.isOpen()) {
    throw sim::systemError("open(" + port + ")");
  }
  makeRaw(port_);
  send(startAnew);  // its greeting may have been echoed before that, or a part of it
  execute("qmp_capabilities", "{}");
}

void Machine::execute(const std::string& command, const std::string& arguments) {
  const std::string id = std::to_string(++commands_);
  lines_.clear();
  send(R"({"execute": ")" + command + R"(", "arguments": )" + arguments + R"(, "id": ")" + id + "\"}\n");
  const std::string answer = waitForLineWith(R"("id": ")" + id + "\"", "");
  if (!contains(answer, R"("return": )")) {
    throw sim::Error("the machine does not carry out " + command + " " + arguments + ": " + answer);
  }
}

void Machine::waitUntilDeleted(const std::string& device) {
  waitForLineWith(R"("event": "DEVICE_DELETED")", R"("device": ")" + device + "\"");
}

void Machine::send(const std::string& text) {
  if (::write(port_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw sim::systemError("writing to the machine's monitor");
  }
}

void Machine::readLines() {
  std::array<char, 4096> buffer{};
  for (ssize_t length = ::read(port_.get(), buffer.data(), buffer.size()); length > 0;
       length = ::read(port_.get(), buffer.data(), buffer.size())) {
    unfinishedLine_.append(buffer.data(), static_cast<std::size_t>(length));
  }
  for (std::size_t end = unfinishedLine_.find('\n'); end != std::string::npos;
       end = unfinishedLine_.find('\n')) {
    lines_.push_back(unfinishedLine_.substr(0, end));
    unfinishedLine_.erase(0, end + 1);
  }
}

std::optional<std::string> Machine::takeLineWith(const std::string& first, const std::string& second) {
  const auto found = std::find_if(lines_.begin(), lines_.end(), [&](const std::string& candidate) {
    return contains(candidate, first) && contains(candidate, second);
  });
  if (found == lines_.end()) {
    return std::nullopt;
  }
  std::string line = *found;
  lines_.erase(found);
  return line;
}

std::string Machine::waitForLineWith(const std::string& first, const std::string& second) {
  std::optional<std::string> line;
  sim::waitUntil("the machine's line with " + first + " " + second, {}, port_.get(), [&] {
    readLines();
    line = takeLineWith(first, second);
    return line.has_value();
  });
  return *line;
}

}  // namespace guest
