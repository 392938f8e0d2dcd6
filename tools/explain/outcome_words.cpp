#include "tools/explain/outcome_words.h"

#include "hotplug/usb_descriptors.h"

namespace explain {

const char* outcomeWord(Outcome outcome) {
  switch (outcome) {
    case Outcome::served:
      return "served";
    case Outcome::refused:
      return "refused";
    case Outcome::noWorker:
      break;
  }
  return "no worker";
}

const char* verdictWord(RuleAnswer::Verdict verdict) {
  switch (verdict) {
    case RuleAnswer::Verdict::passed:
      return "passed";
    case RuleAnswer::Verdict::refused:
      return "refused";
    case RuleAnswer::Verdict::refusedSilently:
      return "refused silently";
    case RuleAnswer::Verdict::failed:
      return "failed";
    case RuleAnswer::Verdict::notAsked:
      break;
  }
  return "not asked";
}

const char* stateWord(ConfigurationState state) {
  switch (state) {
    case ConfigurationState::loaded:
      return "loaded";
    case ConfigurationState::unloadable:
      return "unloadable";
    case ConfigurationState::missing:
      break;
  }
  return "missing";
}

std::string configurationLine(const Circumstances& circumstances) {
  switch (circumstances.configurationState) {
    case ConfigurationState::loaded:
      return circumstances.configuration;
    case ConfigurationState::unloadable:
      return circumstances.configuration + " cannot be loaded, so every key has its default";
    case ConfigurationState::missing:
      break;
  }
  return circumstances.configuration + " is not there, so every key has its default";
}

std::string damageWords(const DescriptorListing& descriptors) {
  std::string words;
  if (descriptors.firstType && descriptors.firstType != deviceDescriptorType) {
    words = "the first one is no device descriptor (bDescriptorType " +
            std::to_string(*descriptors.firstType) + ")";
  }
  if (!descriptors.damage.empty()) {
    words += (words.empty() ? "" : "; ") + std::string("they end at byte ") +
             std::to_string(descriptors.end) + " of " + std::to_string(descriptors.bytes) + ": " +
             descriptors.damage;
  }
  return words;
}

}  // namespace explain
