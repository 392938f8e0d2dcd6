#pragma once

#include <string>
#include <vector>

#include "sim/process.h"
#include "system/explain/answer.h"
#include "system/explain/circumstances.h"

namespace support {

/** How usb_rx_explain has ended, what it has written, and what the processor was needed for. */
struct ExplainRun {
  sim::ProcessEnd end;
  std::string output;
  std::string errors;
  double processorSeconds = 0;
};

/** Runs usb_rx_explain with these arguments and waits for its end. */
ExplainRun runExplain(const std::vector<std::string>& arguments);

/**
 * The arguments that stand for a daemon in these circumstances, whose link leads to "transmitter", port 5000. The
 * settings are those of the unit's configuration: usb_rx_explain reads it where the daemon does.
 */
std::vector<std::string> argumentsFor(const Circumstances& circumstances);

/** A rule as it is printed: whether it is on, and what it says. */
struct RuleAnswer {
  std::string name;
  bool isOn = false;
  std::string verdict;

  bool operator==(const RuleAnswer&) const = default;
};

/** How far the descriptors go. */
struct DescriptorsAnswer {
  std::size_t bytes = 0;
  std::size_t end = 0;
  std::optional<std::string> damage;
};

/** One object of what usb_rx_explain --json prints. */
struct Explanation {
  Answer answer;
  std::optional<std::string> name;
  std::vector<RuleAnswer> rules;
  DescriptorsAnswer descriptors;
};

/** What usb_rx_explain --json says of these devices; its exit status must be that of the verdicts. */
std::vector<Explanation> explain(const Circumstances& circumstances, const std::vector<std::string>& devices);
/** Only what the daemon would do. */
std::vector<Answer> explainedAnswers(const Circumstances& circumstances,
                                     const std::vector<std::string>& devices);

/** Reads that array; throws what is wrong with it. */
std::vector<Explanation> parseExplanations(const std::string& json);
std::vector<Answer> answersIn(const std::vector<Explanation>& explanations);

}  // namespace support
