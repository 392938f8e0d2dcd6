#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/explain/bare_descriptors.h"
#include "tools/explain/circumstances.h"
#include "tools/explain/explanation.h"

/** A device of which no more than these descriptors is known. */
explain::Device describedDevice(const std::string& descriptors);

/** A recorded device, in the view of the unit's older kernel where `hasClassUsb`. */
explain::Device recordedDevice(const std::string& name, bool hasClassUsb = false);

/** Those of a daemon without options and configuration, with these classes. */
explain::Circumstances circumstancesWith(std::uint32_t classes);
