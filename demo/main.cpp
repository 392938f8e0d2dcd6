// Shows the daemon at work on a simulated unit: scenes that are checked as they go, or a prompt.

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "demo/prompt.h"
#include "demo/scenes.h"
#include "demo/unit.h"
#include "sim/contract.h"

namespace demo {

namespace {

constexpr const char* introduction =
    "The daemon on a simulated unit: recorded devices come and go, and each step is checked.\n"
    "The left column tells who acts: the kernel (uevent), the daemon in its debug messages, the workers,\n"
    "the display at the user's desk, those who use the control socket (link), the administrator (config).\n"
    "Left out is what the daemon says of events that it takes no interest in.\n";

/** Who acts first is left open, and so is what the display shows first. */
std::vector<Line> comparable(std::vector<Line> lines) {
  std::stable_sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) {
    return a.about != b.about ? a.about < b.about : a.about == "display" && a.text < b.text;
  });
  return lines;
}

/** Returns what is wrong with the events; nothing if they are as expected. */
std::string findFault(const Step& step, std::vector<Line> seen) {
  std::erase_if(seen, [&step](const Line& line) {
    return line.text.starts_with(contract::debug::tag) &&
           std::find(step.seen.begin(), step.seen.end(), line) == step.seen.end();
  });
  seen = comparable(seen);
  const std::vector<Line> expected = comparable(step.seen);
  const auto [missing, other] = std::mismatch(expected.begin(), expected.end(), seen.begin(), seen.end());
  if (missing == expected.end() && other == seen.end()) {
    return "";
  }
  const auto shown = [](auto line, auto end) {
    return line == end ? "nothing else" : line->about + " \"" + line->text + "\"";
  };
  return "expected " + shown(missing, expected.end()) + "; there was " + shown(other, seen.end());
}

std::string carryOut(const Step& step, Unit& unit, Log& log) {
  try {
    for (const std::string& command : step.commands) {
      unit.carryOut(command);
    }
  } catch (const std::exception& error) {
    return std::string("this step could not be done: ") + error.what();
  }
  return findFault(step, log.takeEvents());
}

/** Ends with the first step that does not go as expected; returns whether all did. */
bool showScenes() {
  Log log(100, 100);
  Log::plain(introduction);
  std::size_t steps = 0;
  for (const Scene& scene : scenes()) {
    steps += scene.steps.size();
  }
  int done = 0;
  const auto result = [&] {
    return std::to_string(done) + " of " + std::to_string(steps) + " steps went as expected";
  };
  for (const Scene& scene : scenes()) {
    Log::title(scene.title);
    Unit unit(log);
    for (const Step& step : scene.steps) {
      Log::headline(std::to_string(done + 1) + ". " + step.headline);
      const std::string fault = carryOut(step, unit, log);
      if (!fault.empty()) {
        log.line("FAILED", fault);
        Log::headline(result() + "; the one above did not, and ends the demo.");
        return false;
      }
      log.line("ok", step.outcome);
      ++done;
    }
  }
  Log::headline(result() + ".");
  return true;
}

int run(const Words& arguments) {
  if (arguments.empty()) {
    return showScenes() ? EXIT_SUCCESS : EXIT_FAILURE;
  }
  if (arguments == Words{"--interactive"}) {
    runPrompt();
    return EXIT_SUCCESS;
  }
  std::cerr << "Usage: usb_rx_demo [--interactive]\n";
  return 2;
}

}  // namespace

}  // namespace demo

int main(int argc, char** argv) {
  try {
    return demo::run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "usb_rx_demo: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
