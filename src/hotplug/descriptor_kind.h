#pragma once

#include "hotplug/usb_descriptors.h"

/*
 * Whether its descriptors, the content of the "descriptors" file, make a device one that a worker of its own
 * kind serves. Fewer than 18 bytes throw ulx::FileDescriptor::EndOfFile, and another descriptor at the start
 * the bare text "Not a device descriptor".
 */

/** A keyboard: every interface is HID with the keyboard protocol (boot interface or not). A device without
 * interfaces is one, too. */
bool isKeyboardDescriptor(DescriptorBytes descriptors);

/** Storage: one configuration with one interface, mass storage with SCSI or ATAPI commands, bulk-only. */
bool isStorageDescriptor(DescriptorBytes descriptors);

/** The interface descriptors behind the device descriptor, which must be whole. */
DescriptorWalk interfacesOf(DescriptorBytes descriptors);

/** Whether an interface descriptor is one of such a device. */
bool isKeyboardInterface(DescriptorBytes interface);
bool isStorageInterface(DescriptorBytes interface);
