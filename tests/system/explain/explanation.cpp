#include "system/explain/explanation.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/program.h"
#include "support/temporary_directory.h"
#include "system/explain/link_of_unit.h"

namespace support {

namespace {

using nlohmann::json;

double secondsOf(const timeval& time) {
  constexpr double microsecondsInSecond = 1e6;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / microsecondsInSecond;
}

template <class Value>
std::optional<Value> optionalAt(const json& object, const char* name) {
  const json& value = object.at(name);
  return value.is_null() ? std::nullopt : std::optional<Value>(value.get<Value>());
}

NodeAnswer nodeIn(const json& object) {
  return {.path = object.at("path"),
          .worker = object.at("worker"),
          .display = optionalAt<std::string>(object, "display")};
}

Answer answerIn(const json& object) {
  Answer answer{.device = object.at("device"),
                .kind = optionalAt<std::string>(object, "kind"),
                .verdict = object.at("verdict"),
                .rule = optionalAt<std::string>(object, "rule"),
                .display = optionalAt<std::string>(object, "display"),
                .worker = optionalAt<std::vector<std::string>>(object, "worker"),
                .nodes = {}};
  for (const json& node : object.value("nodes", json::array())) {
    if (!node.at("worker").is_null()) {
      answer.nodes.push_back(nodeIn(node));
    }
  }
  return answer;
}

Explanation explanationIn(const json& object) {
  Explanation explanation{.answer = answerIn(object),
                          .name = optionalAt<std::string>(object, "name"),
                          .rules = {},
                          .descriptors = {}};
  for (const json& rule : object.at("rules")) {
    explanation.rules.push_back({rule.at("name"), rule.at("on"), rule.at("verdict")});
  }
  const json& descriptors = object.at("descriptors");
  explanation.descriptors = {.bytes = descriptors.at("bytes"),
                             .end = descriptors.at("end"),
                             .damage = optionalAt<std::string>(descriptors, "damage")};
  return explanation;
}

}  // namespace

ExplainRun runExplain(const std::vector<std::string>& arguments) {
  const TemporaryDirectory directory;
  const std::string output = directory / "output";
  const std::string errors = directory / "errors";
  sim::writeFile(output, "");
  sim::writeFile(errors, "");
  std::vector<std::string> command = sim::commandOf("SIM_EXPLAIN", EXPLAIN_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  int status = 0;
  rusage usage{};
  if (::wait4(sim::startProcess(command, {}, output, errors), &status, 0, &usage) == -1) {
    throw sim::systemError("wait4()");
  }
  return {.end = sim::ProcessEnd::of(status),
          .output = sim::readFile(output),
          .errors = sim::readFile(errors),
          .processorSeconds = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime)};
}

std::vector<std::string> argumentsFor(const Circumstances& circumstances) {
  const sim::LinkParameters link = linkOfUnit(circumstances.linkSpeed);
  return {"--class=" + circumstances.classList, "--speed",       link.speed,
          "--intf=" + link.interface,           "--transmitter", link.host + ":" + link.port};
}

std::vector<Explanation> parseExplanations(const std::string& text) {
  std::vector<Explanation> explanations;
  for (const json& object : json::parse(text)) {
    explanations.push_back(explanationIn(object));
  }
  return explanations;
}

std::vector<Answer> answersIn(const std::vector<Explanation>& explanations) {
  std::vector<Answer> answers;
  answers.reserve(explanations.size());
  for (const Explanation& explanation : explanations) {
    answers.push_back(explanation.answer);
  }
  return answers;
}

std::vector<Explanation> explain(const Circumstances& circumstances,
                                 const std::vector<std::string>& devices) {
  std::vector<std::string> arguments = argumentsFor(circumstances);
  arguments.emplace_back("--json");
  arguments.insert(arguments.end(), devices.begin(), devices.end());
  const ExplainRun run = runExplain(arguments);
  EXPECT_EQ(run.errors, "");
  std::vector<Explanation> explanations = parseExplanations(run.output);
  const bool areServed = std::ranges::all_of(
      explanations, [](const Explanation& each) { return each.answer.verdict == "served"; });
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(areServed ? 0 : 1));
  return explanations;
}

std::vector<Answer> explainedAnswers(const Circumstances& circumstances,
                                     const std::vector<std::string>& devices) {
  return answersIn(explain(circumstances, devices));
}

}  // namespace support
