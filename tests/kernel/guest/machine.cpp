#include "kernel/guest/machine.h"

#include <algorithm>

#include "sim/error.h"
#include "sim/wait.h"

namespace guest {

namespace {

/** A byte at which the monitor drops a text that it has received in part. */
constexpr const char* startAnew = "\xff\n";

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

Machine::Machine(const std::string& port) : port_(port) {
  port_.send(startAnew);  // its greeting may have been echoed before that, or a part of it
  execute("qmp_capabilities", "{}");
}

void Machine::execute(const std::string& command, const std::string& arguments) {
  const std::string id = std::to_string(++commands_);
  lines_.clear();
  port_.send(R"({"execute": ")" + command + R"(", "arguments": )" + arguments + R"(, "id": ")" + id +
             "\"}\n");
  const std::string answer = waitForLineWith(R"("id": ")" + id + "\"", "");
  if (!contains(answer, R"("return": )")) {
    throw sim::Error("the machine does not carry out " + command + " " + arguments + ": " + answer);
  }
}

void Machine::waitUntilDeleted(const std::string& device) {
  waitForLineWith(R"("event": "DEVICE_DELETED")", R"("device": ")" + device + "\"");
}

void Machine::readLines() {
  unfinishedLine_ += port_.receive();
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
  sim::waitUntil("the machine's line with " + first + " " + second, {}, port_.events(), [&] {
    readLines();
    line = takeLineWith(first, second);
    return line.has_value();
  });
  return *line;
}

Machine& thisMachine() {
  static Machine machine(machineSetting("MONITOR_PORT"));
  return machine;
}

}  // namespace guest
