#pragma once

#include "demo/real/both_machines.h"
#include "demo/real/steps.h"

namespace demo {

/** Everything that the demo of two machines shows, in its order. */
void showTravels(BothMachines& machines, Steps& steps);

}  // namespace demo
