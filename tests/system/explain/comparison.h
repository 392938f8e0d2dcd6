#pragma once

#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/explain/answer.h"
#include "system/explain/circumstances.h"

namespace support {

/** Fails the test once for each field in which what is explained differs from what the daemon does. */
void expectSame(const std::string& where, const std::vector<Answer>& daemon,
                const std::vector<Answer>& explained);

/**
 * Plugs the recording into a daemon of the unit in all these circumstances, has `device` (its folder, or a name)
 * explained in the same, and expects the same.
 */
void expectExplainedAsDecided(sim::Unit& unit, const sim::DeviceRecording& recording,
                              const std::string& device, const std::vector<Circumstances>& all);

}  // namespace support
