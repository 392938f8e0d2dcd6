#include "demo/chronicle.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "demo/quoting.h"

namespace demo {

namespace {

std::vector<std::string> commandWords(std::vector<std::string> before, const CommandLine& command) {
  std::transform(command.begin(), command.end(), std::back_inserter(before), quoted);
  return before;
}

std::string numbered(int number, const std::string& program) {
  return "#" + std::to_string(number) + " " + program;
}

std::string withoutNewline(const std::string& text) {
  return text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
}

}  // namespace

Happenings Chronicle::take() {
  return std::exchange(happenings_, {});
}

void Chronicle::uevent(const UeventText& event) {
  console_.line(Tag::Uevent, event.shortened(textColumns));
}

void Chronicle::uninterestingUevents(int count, Others others) {
  const bool areMore = others == Others::Told;
  console_.line(Tag::Uevent, (areMore ? "... and " : "") + std::to_string(count) + (areMore ? " more" : "") +
                                 (count == 1 ? " event" : " events") + " of its interfaces and nodes");
}

void Chronicle::daemonStarts(const CommandLine& command) {
  console_.line(Tag::Daemon, commandWords({"starts:"}, command));
}

void Chronicle::daemonSays(const std::string& line) {
  console_.line(Tag::Daemon, line);
  happenings_.daemonLines.push_back(line);
}

void Chronicle::daemonEnded(const sim::ProcessEnd& end) {
  std::ostringstream text;
  text << "has ended with " << end;
  console_.line(Tag::Daemon, text.str());
  happenings_.endOfDaemon = end;
}

void Chronicle::workerStarted(int number, const CommandLine& command) {
  console_.line(Tag::Worker, commandWords({numbered(number, "starts:")}, command));
  happenings_.startedWorkers.push_back(command);
}

void Chronicle::workerEnded(int number, const std::string& program, const std::string& circumstance) {
  console_.line(Tag::Worker, numbered(number, program) + " has ended" + circumstance);
  happenings_.endedWorkers.push_back(program);
}

void Chronicle::workerRunsOn(int number, const std::string& program) {
  console_.line(Tag::Worker, numbered(number, program) + " runs on");
}

void Chronicle::displayShows(const std::string& text) {
  const std::string shown = withoutNewline(text);
  console_.line(Tag::Display, "[" + shown + "]");
  happenings_.display.push_back(shown);
}

void Chronicle::linkSends(const std::string& bytes) {
  console_.line(Tag::Link, "sends    \"" + bytes + "\"");
}

void Chronicle::linkReceives(const std::string& answer) {
  console_.line(Tag::Link,
                answer.empty() ? "receives nothing; the connection ends" : "receives \"" + answer + "\"");
  happenings_.answers.push_back(answer);
}

void Chronicle::link(const std::string& text) {
  console_.line(Tag::Link, text);
}

void Chronicle::configuratorRuns(const CommandLine& arguments) {
  console_.line(Tag::Config, commandWords({"quor_config"}, arguments));
}

void Chronicle::config(const std::string& text) {
  console_.line(Tag::Config, text);
}

}  // namespace demo
