#include "demo/interactive/session.h"

#include <optional>

#include "demo/interactive/commands.h"
#include "sim/error.h"
#include "sim/wait.h"

namespace demo {

namespace {

constexpr const char* promptText = "> ";
constexpr double secondsOfPatience = 3600;

}  // namespace

void Session::run(int descriptor) {
  Input input(descriptor);
  console_.plain("The daemon on a simulated unit, and you at the desk. \"help\" lists what you can do.\n");
  carryOut("start");
  while (goesOn_) {
    console_.plain("");
    console_.prompt(promptText);
    awaitLine(input);
    const std::optional<std::string> line = input.takeLine();
    if (!input.isTerminal()) {
      console_.plain(line.value_or("(end of input)"));
    }
    if (!line) {
      return;
    }
    carryOut(*line);
  }
}

void Session::awaitLine(Input& input) {
  while (!input.hasLineOrEnd()) {
    const sim::Deadline patience(secondsOfPatience);
    sim::waitUntil("input", patience, input.descriptor(), [&] {
      tellNews(input);
      return input.isReady() || patience.passed();
    });
    if (input.isReady()) {
      input.readMore();
    }
  }
}

/** What happens while somebody may be typing. */
void Session::tellNews(const Input& input) {
  if (!stage_.hasNews()) {
    return;
  }
  if (input.isTerminal()) {
    console_.plain("");
  }
  stage_.tellNews();
  console_.prompt(promptText);
}

void Session::carryOut(const std::string& line) {
  try {
    goesOn_ = carryOutCommand(line, stage_, console_) == Next::GoOn;
  } catch (const sim::TimedOut&) {
    throw;
  } catch (const sim::Error& error) {
    console_.line(Tag::Error, error.what());
  }
}

}  // namespace demo
