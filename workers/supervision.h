#pragma once

#include "ctrl/rx_ctrl.h"

/** Collects every worker that has ended. Throws "waitpid()". */
void reapWorkers(RxCtrl& ctrl);
