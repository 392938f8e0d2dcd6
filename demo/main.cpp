// Shows the daemon at work on a simulated unit: scenes that are checked as they go, or a prompt.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "demo/prompt.h"
#include "demo/scenes.h"

namespace demo {

namespace {

constexpr Layout sceneLayout = {false, 100, 100};

constexpr std::array introduction = {
    "The daemon on a simulated unit: recorded devices come and go, and each step is checked.",
    "The left column tells who acts: the kernel (uevent), the daemon in its debug messages, the workers,",
    "the display at the user's desk, those who use the control socket (link), the administrator (config).",
    "Left out is what the daemon says of events that it takes no interest in."};

Words textsOf(const std::vector<Event>& events, Tag tag) {
  Words texts;
  for (const Event& event : events) {
    if (event.tag == tag) {
      texts.push_back(event.text);
    }
  }
  if (tag == Tag::Display) {
    std::sort(texts.begin(), texts.end());  // what comes first there is left open
  }
  return texts;
}

bool contains(const Words& all, const Words& expected) {
  auto next = expected.begin();
  for (const std::string& text : all) {
    next += next != expected.end() && *next == text ? 1 : 0;
  }
  return next == expected.end();
}

std::string listOf(const Words& texts) {
  std::string list;
  for (const std::string& text : texts) {
    list += (list.empty() ? "\"" : ", \"") + text + "\"";
  }
  return list.empty() ? "nothing" : list;
}

/** The first difference, for a person; empty if there is none. */
std::string differenceBetween(const std::vector<Event>& expected, const std::vector<Event>& seen) {
  for (const Tag tag : {Tag::Daemon, Tag::Worker, Tag::Display, Tag::Link, Tag::Message}) {
    const Words wanted = textsOf(expected, tag);
    const Words found = textsOf(seen, tag);
    if (tag == Tag::Message ? !contains(found, wanted) : found != wanted) {
      return nameOf(tag) + ": expected " + listOf(wanted) + "; there was " + listOf(found);
    }
  }
  return "";
}

/** Returns what is wrong; empty if all went as expected. */
std::string carryOut(const Step& step, Unit& unit, Log& log) {
  log.takeEvents();
  try {
    for (const std::string& command : step.commands) {
      carryOutCommand(command, unit, log);
    }
  } catch (const std::exception& error) {
    return std::string("this step could not be done: ") + error.what();
  }
  return differenceBetween(step.seen, log.takeEvents());
}

/** Ends with the first step that does not go as expected; returns whether all did. */
bool showScenes(Log& log) {
  std::size_t count = 0;
  const std::vector<Scene> all = scenes();
  for (const Scene& scene : all) {
    count += scene.steps.size();
  }
  const std::string ofAll = " of " + std::to_string(count) + " steps went as expected";
  std::size_t done = 0;
  for (const Scene& scene : all) {
    log.title(scene.title);
    Unit unit(log);
    for (const Step& step : scene.steps) {
      log.headline(std::to_string(done + 1) + ". " + step.headline);
      const std::string fault = carryOut(step, unit, log);
      log.line(fault.empty() ? Tag::Ok : Tag::Failed, fault.empty() ? step.outcome : fault);
      if (!fault.empty()) {
        log.headline(std::to_string(done) + ofAll + "; the one above did not, and ends the demo.");
        return false;
      }
      ++done;
    }
  }
  log.headline(std::to_string(done) + ofAll + ".");
  return true;
}

Log logWith(Layout layout) {
  const char* noColour = std::getenv("NO_COLOR");
  layout.coloured = ::isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0');
  return {std::cout, layout};
}

int run(const Words& arguments) {
  if (arguments == Words{"--interactive"}) {
    Log log = logWith(promptLayout);
    runPrompt(log);
    return EXIT_SUCCESS;
  }
  if (!arguments.empty()) {
    std::cerr << "Usage: usb_rx_demo [--interactive]\n";
    return 2;
  }
  Log log = logWith(sceneLayout);
  for (const char* line : introduction) {
    log.plain(line);
  }
  return showScenes(log) ? EXIT_SUCCESS : EXIT_FAILURE;
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
