#pragma once

#include "ctrl/rx_ctrl.h"

/** Handles the devices that were plugged in before the daemon listened. */
void coldplug(RxCtrl& ctrl);
