#pragma once

#include <string>

#include "tools/explain/explanation.h"

namespace explain {

/** "served", "refused", "no worker". */
[[nodiscard]] const char* outcomeWord(Outcome outcome);

/** "passed", "refused", "refused silently", "failed", "not asked". */
[[nodiscard]] const char* verdictWord(RuleAnswer::Verdict verdict);

/** "loaded", "missing", "unloadable". */
[[nodiscard]] const char* stateWord(ConfigurationState state);

/** The configuration's file, and what keeps its keys from having an effect. */
[[nodiscard]] std::string configurationLine(const Circumstances& circumstances);

/** Where the descriptors end and why, in words; empty where they are whole. */
[[nodiscard]] std::string damageWords(const DescriptorListing& descriptors);

}  // namespace explain
