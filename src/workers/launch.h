#pragma once

#include <string>

#include "ctrl/osd.h"
#include "ctrl/rx_ctrl.h"

/*
 * Each launcher starts the worker of one device, records it in the worker table and announces the device on the
 * display. `devicePath` is the physical sysfs directory of the node in question. Launchers throw
 * "fork()", and what cannot be read of the device. A program that cannot be executed ends the daemon (see
 * signals.h).
 */

/** `devicePath`: a SCSI generic node. */
void launchScsiWorker(RxCtrl& ctrl, const std::string& devicePath);

/** `devicePath`: a HID device node with a "dev" attribute, two levels below the USB device. */
void launchKeyboardWorker(RxCtrl& ctrl, const std::string& devicePath);

/** `devicePath`: a USB device. Announced only while there is a control connection, and not while attachBlocked. */
void launchGenericWorker(RxCtrl& ctrl, const std::string& devicePath);

/** Shows the user that the device of this name can be used. */
void announceAttached(const OsdSink& osd, const std::string& deviceName);
