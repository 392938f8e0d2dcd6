#include "system/explain/rules_check.h"

#include <algorithm>

namespace support {

namespace {

bool hasSetting(const Circumstances& circumstances, const std::string& line) {
  return circumstances.settings.find(line + "\n") != std::string::npos;
}

/** The rules in their order, as far as the circumstances switch them on; none is asked yet. */
std::vector<RuleAnswer> rulesIn(const Circumstances& circumstances) {
  return {
      {"usb:smartcard", hasSetting(circumstances, "smartcard = true"), "not asked"},
      {"usb:hid_only", hasSetting(circumstances, "hid_only = true"), "not asked"},
      {"usb:block_mass_storage", hasSetting(circumstances, "block_mass_storage = true"), "not asked"},
      {"usb:isochronous_enabled", !hasSetting(circumstances, "isochronous_enabled = true"), "not asked"},
      {"speed", circumstances.linkSpeed == "full", "not asked"},
  };
}

/** Only the rule of isochronous endpoints can refuse silently, and another one may refuse the same device then. */
bool mayRefuseSilently(const RuleAnswer& rule, const Circumstances& circumstances) {
  return rule.name == "usb:isochronous_enabled" &&
         hasSetting(circumstances, "isochronous_user_warning = false");
}

/** What each rule must say of a device that was treated like this; "" for either of two words. */
std::vector<RuleAnswer> expectedRules(const Answer& answer, const Circumstances& circumstances) {
  std::vector<RuleAnswer> rules = rulesIn(circumstances);
  bool isDecided = false;
  for (RuleAnswer& rule : rules) {
    const bool refuses = answer.rule == rule.name;
    const bool isSilent = mayRefuseSilently(rule, circumstances);
    const bool mayRefuse = isSilent && answer.verdict == "refused";
    if (rule.isOn && !isDecided) {
      rule.verdict = refuses ? (isSilent ? "refused silently" : "refused") : (mayRefuse ? "" : "passed");
    }
    isDecided = isDecided || (refuses && !isSilent);
  }
  return rules;
}

}  // namespace

std::vector<std::string> contradictionsOfRules(const Explanation& explanation,
                                               const Circumstances& circumstances) {
  const Answer& answer = explanation.answer;
  const bool isConcerned = answer.kind == "generic";
  const std::vector<RuleAnswer> expected =
      isConcerned ? expectedRules(answer, circumstances) : std::vector<RuleAnswer>{};
  if (explanation.rules.size() != expected.size()) {
    return {answer.device + ": " + std::to_string(explanation.rules.size()) + " rules"};
  }
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const RuleAnswer& rule = explanation.rules[i];
    const bool isVerdictRight = expected[i].verdict.empty() || rule.verdict == expected[i].verdict;
    if (rule.name != expected[i].name || rule.isOn != expected[i].isOn || !isVerdictRight) {
      lines.push_back(answer.device + ": rule " + rule.name + (rule.isOn ? ": on, " : ": off, ") +
                      rule.verdict + "; to be expected " + expected[i].name +
                      (expected[i].isOn ? ": on, " : ": off, ") + expected[i].verdict);
    }
  }
  return lines;
}

}  // namespace support
