#pragma once

#include <string>
#include <vector>

#include "tools/explain/explanation.h"

namespace explain {

/** What the explanations depend on: the configuration, the link, the classes. */
[[nodiscard]] std::string headingOf(const Circumstances& circumstances);

/** A line of at most 80 columns for each device. */
[[nodiscard]] std::string tableOf(const std::vector<Explanation>& explanations);

/** The explanation of one device, in lines. */
[[nodiscard]] std::string textOf(const Explanation& explanation);

}  // namespace explain
