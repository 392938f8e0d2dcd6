// Shows the daemon at work on a simulated unit: a story that checks itself, or whatever a person does by
// hand.

#include <unistd.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "demo/console.h"
#include "demo/interactive/session.h"
#include "demo/story.h"

namespace {

constexpr int failed = 1;
constexpr int wrongUse = 2;

int run(const std::vector<std::string>& arguments, demo::Console& console) {
  if (arguments.empty()) {
    return demo::show(demo::story(), console) ? 0 : failed;
  }
  if (arguments == std::vector<std::string>{"--interactive"}) {
    demo::Session(console).run(STDIN_FILENO);
    return 0;
  }
  std::cerr << "Usage: usb_rx_demo [--interactive]\n";
  return wrongUse;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    demo::Console console(std::cout, demo::Console::coloursFor(STDOUT_FILENO));
    return run({argv + 1, argv + argc}, console);
  } catch (const std::exception& error) {
    std::cerr << "usb_rx_demo: " << error.what() << '\n';
    return failed;
  }
}
