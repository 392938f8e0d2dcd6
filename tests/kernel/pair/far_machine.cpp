#include "kernel/pair/far_machine.h"

#include "sim/error.h"
#include "sim/wait.h"

namespace pair {

namespace {

constexpr double patience = 1;  ///< seconds until a machine that does not answer is asked again

std::string withoutNewlinesAtEnd(std::string text) {
  text.erase(text.find_last_not_of('\n') + 1);
  return text;
}

}  // namespace

FarMachine::FarMachine(const sim::Deadline& deadline) : port_(guest::machineSetting("FAR_PORT")) {
  while (!answers(deadline.atMost(patience))) {
    if (deadline.passed()) {
      throw sim::TimedOut("the far machine");
    }
  }
}

// What is sent before the machine is up is lost, or arrives in part: this line does no harm then.
bool FarMachine::answers(const sim::Deadline& deadline) {
  const std::string number = std::to_string(++commands_);
  port_.send("\necho up $((" + number + "))\n");
  try {
    receiveUpTo("up " + number + "\n", deadline);
  } catch (const sim::TimedOut&) {
    return false;
  }
  return true;
}

Answer FarMachine::call(const std::string& command, const sim::Deadline& deadline) {
  const std::string number = std::to_string(++commands_);
  const std::string begin = "begin-of-answer " + number + "\n";
  const std::string end = "end-of-answer " + number + " ";
  // The marks are put together there: what comes back of a command that was sent is not taken for its answer.
  port_.send("\nprintf '%s %s\\n' begin-of-answer " + number + "\n{\n" + command +
             "\n} </dev/null 2>&1\nprintf '%s %s %s\\n' end-of-answer " + number + " $?\n");
  receiveUpTo(begin, deadline);
  const std::string output = receiveUpTo(end, deadline);
  return {.status = std::stoi(receiveUpTo("\n", deadline)), .output = output};
}

std::string FarMachine::read(const std::string& command, const sim::Deadline& deadline) {
  const Answer answer = call(command, deadline);
  if (answer.status != 0) {
    throw sim::Error("the far machine's \"" + command + "\" ended with status " +
                     std::to_string(answer.status) + ": " + answer.output);
  }
  return withoutNewlinesAtEnd(answer.output);
}

std::string FarMachine::waitUntil(const std::string& command, const sim::Deadline& deadline) {
  const std::string seconds = std::to_string((deadline.millisecondsLeft() + 999) / 1000);
  const Answer answer =
      call("read up _ </proc/uptime; latest=$((${up%%.*} + " + seconds + "))\nuntil output=$({ " + command +
               "\n} 2>/dev/null); do\n"
               "read up _ </proc/uptime; [ ${up%%.*} -lt $latest ] || break; usleep 20000\n"
               "done\necho \"$output\"; [ ${up%%.*} -lt $latest ]",
           sim::Deadline(std::stod(seconds) + patience));
  if (answer.status != 0) {
    throw sim::TimedOut("\"" + command + "\" on the far machine; it prints: " + answer.output);
  }
  return withoutNewlinesAtEnd(answer.output);
}

void FarMachine::writeFile(const std::string& path, const std::string& content) {
  read("rm -f '" + path + "'; (umask 077; cat >'" + path + "') <<'end-of-file'\n" + content +
       "\nend-of-file\n");
}

std::string FarMachine::receiveUpTo(const std::string& mark, const sim::Deadline& deadline) {
  std::size_t found = std::string::npos;
  sim::waitUntil("the far machine's \"" + mark + "\"", deadline, port_.events(), [&] {
    received_ += port_.receive();
    found = received_.find(mark);
    return found != std::string::npos;
  });
  std::string text = received_.substr(0, found);
  received_.erase(0, found + mark.size());
  return text;
}

}  // namespace pair
