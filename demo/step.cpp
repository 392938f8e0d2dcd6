#include "demo/step.h"

#include <algorithm>
#include <sstream>

#include "demo/quoting.h"

namespace demo {

namespace {

std::string listOf(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) {
    list += (list.empty() ? "\"" : ", \"") + text + "\"";
  }
  return list.empty() ? "nothing" : list;
}

std::vector<std::string> asTexts(const std::vector<CommandLine>& commands) {
  std::vector<std::string> texts;
  for (const CommandLine& command : commands) {
    std::string text;
    for (const std::string& argument : command) {
      text += (text.empty() ? "" : " ") + quoted(argument);
    }
    texts.push_back(text);
  }
  return texts;
}

std::vector<std::string> asText(const std::optional<sim::ProcessEnd>& end) {
  if (!end) {
    return {};
  }
  std::ostringstream text;
  text << *end;
  return {text.str()};
}

std::vector<std::string> sorted(std::vector<std::string> texts) {
  std::sort(texts.begin(), texts.end());
  return texts;
}

class Comparison {
 public:
  void demand(const std::string& what, const std::vector<std::string>& expected,
              const std::vector<std::string>& happened) {
    if (expected != happened) {
      differences_.push_back(what + ": expected " + listOf(expected) + "; there was " + listOf(happened));
    }
  }
  std::vector<std::string> differences() { return differences_; }

 private:
  std::vector<std::string> differences_;
};

}  // namespace

std::vector<std::string> differences(const Expected& expected, const Happenings& happened) {
  Comparison comparison;
  for (const std::string& text : expected.daemonSays) {
    const std::string line = "[rx_ctrl] " + text;
    const auto count = std::count(happened.daemonLines.begin(), happened.daemonLines.end(), line);
    comparison.demand("the daemon's lines", {line}, count > 0 ? Lines{line} : happened.daemonLines);
  }
  comparison.demand("workers started", asTexts(expected.workers), asTexts(happened.startedWorkers));
  comparison.demand("the display", sorted(expected.display), sorted(happened.display));
  comparison.demand("answers to queries", expected.answers, happened.answers);
  comparison.demand("workers ended", sorted(expected.ended), sorted(happened.endedWorkers));
  comparison.demand("the daemon's end",
                    asText(expected.exitStatus ? std::optional(sim::ProcessEnd::exited(*expected.exitStatus))
                                               : std::nullopt),
                    asText(happened.endOfDaemon));
  return comparison.differences();
}

}  // namespace demo
