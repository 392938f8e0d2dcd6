// Shows the daemon at work on a simulated unit: scenes that are checked as they go, or a prompt.

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>

#include "demo/scenes.h"
#include "demo/unit.h"
#include "sim/contract.h"

namespace demo {

namespace {

constexpr const char* introduction =
    "The daemon on a simulated unit: recorded devices come and go, and each step is\n"
    "checked. On the left stands who acts: the kernel (uevent), the daemon in its\n"
    "debug messages, the workers, the display at the user's desk, those who use the\n"
    "control socket (link), the administrator (config). Left out is what the daemon\n"
    "says of events that it takes no interest in, and \"...\" stands for the part of a\n"
    "long path that leads to the USB bus.\n";

/** Who acts first is left open, and so is what the display shows first. */
std::vector<Line> comparable(std::vector<Line> lines) {
  std::ranges::stable_sort(
      lines, {}, [](const Line& line) { return line.first == "display" ? line : Line(line.first, ""); });
  return lines;
}

/** Returns what is wrong with the events; nothing if they are as expected. */
std::string findFault(std::vector<Line> expected, std::vector<Line> seen) {
  std::erase_if(seen, [&expected](const Line& line) {
    return line.second.starts_with(contract::debug::tag) && std::ranges::count(expected, line) == 0;
  });
  expected = comparable(expected);
  seen = comparable(seen);
  const auto [missing, other] = std::ranges::mismatch(expected, seen);
  if (missing == expected.end() && other == seen.end()) {
    return "";
  }
  const auto shown = [](auto line, auto end) {
    return line == end ? "nothing else" : line->first + " \"" + line->second + "\"";
  };
  return "expected " + shown(missing, expected.end()) + "; there was " + shown(other, seen.end());
}

std::string carryOut(const Words& commands, const std::vector<Line>& expected, Unit& unit, Log& log) {
  try {
    std::ranges::for_each(commands, [&unit](const std::string& command) { unit.carryOut(command); });
  } catch (const std::exception& error) {
    return std::string("this step could not be done: ") + error.what();
  }
  return findFault(expected, log.takeEvents());
}

/** Behind a step that does not go as expected, the others are only counted. Returns whether all did. */
bool showScenes() {
  Log log;
  Log::plain(introduction);
  int steps = 0;
  int done = 0;
  for (const auto& [title, show] : scenes()) {
    std::optional<Unit> unit;
    if (done == steps) {
      log.headline("== " + title + " ==", "1");
      unit.emplace(log);
    }
    show([&](const auto& headline, const auto& commands, const auto& seen, const auto& outcome) {
      if (done == steps++) {
        log.headline(std::to_string(steps) + ". " + headline);
        const std::string fault = carryOut(commands, seen, *unit, log);
        log.line(fault.empty() ? "ok" : "FAILED", fault.empty() ? outcome : fault);
        done += fault.empty() ? 1 : 0;
      }
    });
  }
  log.headline(std::to_string(done) + " of " + std::to_string(steps) + " steps went as expected" +
               (done == steps ? "." : "; the one above did not, and ends the demo."));
  return done == steps;
}

}  // namespace

}  // namespace demo

int main(int argc, char** argv) {
  const demo::Words arguments(argv + 1, argv + argc);
  const bool isInteractive = arguments == demo::Words{"--interactive"};
  if (!arguments.empty() && !isInteractive) {
    std::cerr << "Usage: usb_rx_demo [--interactive]\n";
    return 2;
  }
  try {
    if (isInteractive) {
      demo::runPrompt();
      return EXIT_SUCCESS;
    }
    return demo::showScenes() ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::cerr << "usb_rx_demo: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
