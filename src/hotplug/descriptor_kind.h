#pragma once

#include <string>

#include "hotplug/usb_descriptors.h"

/*
 * Whether its descriptors make a device one that a worker of its own kind serves. The tests over a path read
 * a "descriptors" file and throw the exception of a failed open or read. A file of fewer than 18 bytes throws
 * ulx::FileDescriptor::EndOfFile, one that begins otherwise the bare text "Not a device descriptor".
 */

/** A keyboard: every interface is HID with the keyboard protocol (boot interface or not). A device without
 * interfaces is one, too. */
bool isKeyboardDescriptor(const std::string& descriptorsPath);

/** Storage: one configuration with one interface, mass storage with SCSI or ATAPI commands, bulk-only. */
bool isStorageDescriptor(const std::string& descriptorsPath);

/** The part of each test that looks at what follows the device descriptor. */
bool everyInterfaceIsKeyboard(DescriptorBytes configurations);
bool hasSingleStorageInterface(DescriptorBytes configurations);
