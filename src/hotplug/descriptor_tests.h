#pragma once

#include <string>

#include "hotplug/usb_descriptors.h"

/*
 * Whether a device is one that a dedicated worker serves. The tests over a path read a "descriptors" file:
 * they throw the exception of a failed open or read, ulx::FileDescriptor::EndOfFile when it has fewer than 18
 * bytes, and the bare text "Not a device descriptor" when it starts with another descriptor.
 */

/** A keyboard: every interface is HID with the keyboard protocol (boot interface or not), also if there is
 * none. */
bool isKeyboardDescriptor(const std::string& descriptorsPath);

/** Storage: a single configuration with a single interface, mass storage with SCSI or ATAPI commands,
 * bulk-only. */
bool isStorageDescriptor(const std::string& descriptorsPath);

/** The part of each test that looks at what follows the device descriptor. */
bool everyInterfaceIsKeyboard(DescriptorBytes configurations);
bool hasSingleStorageInterface(DescriptorBytes configurations);
