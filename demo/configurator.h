#pragma once

#include "demo/happenings.h"

namespace demo {

/**
 * Runs quor_config, the program over the unit's configuration file, with these arguments. Throws sim::Error
 * when it ends with another status than 0.
 */
void runConfigurator(const CommandLine& arguments);

}  // namespace demo
