#pragma once

#include <string>

#include "ctrl/osd.h"

/** Tells the user that the device of this name can be used. */
void announceAttached(const OsdSink& osd, const std::string& deviceName);
