#pragma once

#include "ctrl/rx_ctrl.h"

/**
 * Handles the devices that were plugged in before the daemon listened, as if they had just been: every USB
 * device, then the HID nodes of boot keyboards, then SCSI generic nodes, the latter two as the class mask
 * says.
 *
 * What fails while a device is handled stays there; a directory that cannot be listed, and a HID node whose
 * USB device cannot be read, end coldplug with their exceptions.
 */
void coldplug(RxCtrl& ctrl);
