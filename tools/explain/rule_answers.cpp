#include "tools/explain/rule_answers.h"

#include <string_view>

#include "tools/explain/failure_text.h"
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
bool hasKey(const AdmissionRule& rule) {
  return std::string_view(rule.name).find(':') != std::string_view::npos;
}

std::string reasonOf(const AdmissionRule& rule, const Circumstances& circumstances) {
  if (!hasKey(rule)) {
    return "the speed of the link is \"" + circumstances.linkSpeed + "\"";
  }
  return circumstances.configurationState == ConfigurationState::unloadable
             ? "default: the configuration cannot be loaded"
             : settingWords(readSetting(rule.name), "the key");
}

// What the descriptors have at `offset`.
std::string wordsAt(std::size_t offset, const DescriptorListing& listing) {
  for (const Interface& interface : listing.interfaces) {
    if (interface.offset == offset && interface.interfaceClass) {
      return interfaceWords(interface) + " is " + interfaceClassWords(interface);
    }
    for (const Endpoint& endpoint : interface.endpoints) {
      if (endpoint.offset == offset) {
        return interfaceWords(interface) + " has " + endpointWords(endpoint);
      }
    }
  }
  return "the descriptor at byte " + std::to_string(offset);
}

std::string wordsOf(const Objection& objection, const DescriptorListing& listing,
                    const DeviceAttributes& device) {
  return objection.offset ? wordsAt(*objection.offset, listing)
                          : "the device is " + speedWords(device.textOr("speed", ""));
}

void refuse(RuleAnswer& answer, const AdmissionRule& rule, const AdmissionPolicy& policy) {
  answer.verdict = Verdict::refused;
  if (!rule.warns(policy)) {
    answer.verdict = Verdict::refusedSilently;
    answer.reason += "; " + settingWords(readSetting(rule.warningKey), rule.warningKey);
  }
}

void ask(RuleAnswer& answer, const AdmissionRule& rule, const Circumstances& circumstances,
         const DeviceAttributes& device, const DescriptorListing& listing) {
  try {
    const std::optional<Objection> objection = rule.objection(device);
    if (!objection) {
      answer.verdict = Verdict::passed;
      return;
    }
    answer.place = objection->offset;
    answer.found = wordsOf(*objection, listing, device);
    refuse(answer, rule, circumstances.policy);
  } catch (...) {
    answer.verdict = Verdict::failed;
    answer.found = failureText();
  }
}

// Why rules behind this one are not asked; empty where they are.
std::string whyLast(Verdict verdict) {
  if (verdict == Verdict::refused) {
    return "it is refused already";
  }
  return verdict == Verdict::failed ? "the daemon gives it up before" : "";
}

}  // namespace

std::vector<RuleAnswer> answerRules(const Circumstances& circumstances, const DeviceAttributes& device,
                                    const DescriptorListing& listing) {
  std::vector<RuleAnswer> answers;
  std::string whyNotAsked;
  for (const AdmissionRule& rule : admissionRules()) {
    RuleAnswer answer{.name = rule.name,
                      .isOn = rule.isOn(circumstances.policy, circumstances.linkSpeed),
                      .readsDescriptors = hasKey(rule),
                      .reason = reasonOf(rule, circumstances),
                      .whyNotAsked = whyNotAsked,
                      .found = {},
                      .place = {},
                      .verdict = Verdict::notAsked};
    if (answer.isOn && whyNotAsked.empty()) {
      ask(answer, rule, circumstances, device, listing);
      whyNotAsked = whyLast(answer.verdict);
    }
    answers.push_back(answer);
  }
  return answers;
}

}  // namespace explain
