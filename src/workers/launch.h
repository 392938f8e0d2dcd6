#pragma once

#include <string>

#include "ctrl/osd.h"
#include "ctrl/rx_ctrl.h"
#include "ctrl/settings.h"
#include "hotplug/device_attributes.h"
#include "workers/worker_arguments.h"

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

/** The log of the workers whose debug messages the setting `debug` switches on. */
WorkerLog workerLog(bool Settings::*debug);

/** The program of generic workers: the configured one, or "usb_rx_generic". */
std::string genericProgram();

/** The name under which a user knows a disk; `unit` is the SCSI device that the generic node belongs to. */
std::string diskName(const DeviceAttributes& unit);

/** What the display shows of a device of this name that can be used. */
std::string attachedMessage(const std::string& deviceName);

/** Shows it. */
void announceAttached(const OsdSink& osd, const std::string& deviceName);
