#include "tools/explain/rule_answers.h"

#include <string_view>

#include "ctrl/configuration_keys.h"
#include "tools/explain/usb_words.h"

namespace explain {

namespace {

using Verdict = RuleAnswer::Verdict;

// `key`: how the setting's key is called here.
std::string settingWords(const Setting& setting, const std::string& key) {
  if (!setting.text) {
    return "default: " + key + " is not set";
  }
  const std::string words = key + " is set to \"" + *setting.text + "\"";
  return setting.isReadable ? words : "default: " + words + ", neither yes nor no";
}

// A rule is named after its key, or is the one of the link's speed.
std::string reasonOf(const AdmissionRule& rule, const Circumstances& circumstances) {
  const bool hasKey = std::string_view(rule.name).find(':') != std::string_view::npos;
  return hasKey ? settingWords(readSetting(rule.name), "the key")
                : "the speed of the link is \"" + circumstances.linkSpeed + "\"";
}

// What the descriptors have at `place`; the device as a whole where they have nothing there.
std::string wordsAt(std::size_t place, const DescriptorListing& listing, const DeviceAttributes& device) {
  for (const Interface& interface : listing.interfaces) {
    if (interface.offset == place && interface.interfaceClass) {
      return interfaceWords(interface) + " is " + interfaceClassWords(interface);
    }
    for (const Endpoint& endpoint : interface.endpoints) {
      if (endpoint.offset == place) {
        return interfaceWords(interface) + " has " + endpointWords(endpoint);
      }
    }
  }
  return "the device is " + speedWords(device.textOr("speed", ""));
}

// A rule behind one that has refused loudly is not asked.
RuleAnswer answerRule(const AdmissionRule& rule, bool isDecided, const Circumstances& circumstances,
                      const DeviceAttributes& device, const DescriptorListing& listing) {
  RuleAnswer answer{.name = rule.name,
                    .isOn = rule.isOn(circumstances.policy, circumstances.linkSpeed),
                    .reason = reasonOf(rule, circumstances),
                    .found = {},
                    .place = {},
                    .verdict = Verdict::notAsked};
  if (!answer.isOn || isDecided) {
    return answer;
  }
  answer.place = rule.objection(device);
  if (!answer.place) {
    answer.verdict = Verdict::passed;
    return answer;
  }
  answer.found = wordsAt(*answer.place, listing, device);
  answer.verdict = Verdict::refused;
  return answer;
}

}  // namespace

std::vector<RuleAnswer> answerRules(const Circumstances& circumstances, const DeviceAttributes& device,
                                    const DescriptorListing& listing, const Judgement& judgement) {
  std::vector<RuleAnswer> answers;
  bool isDecided = false;
  for (const AdmissionRule& rule : admissionRules()) {
    RuleAnswer answer = answerRule(rule, isDecided, circumstances, device, listing);
    isDecided = isDecided || (judgement.verdict == ::Verdict::refused && judgement.rule == &rule);
    if (answer.verdict == Verdict::refused && !isDecided) {
      answer.verdict = Verdict::refusedSilently;
      const Setting warning = readSetting(configuration_key::isochronousUserWarning);
      answer.reason += "; " + settingWords(warning, warning.key);
    }
    answers.push_back(answer);
  }
  return answers;
}

}  // namespace explain
