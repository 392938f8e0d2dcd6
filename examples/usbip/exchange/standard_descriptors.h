#pragma once

namespace usbip {

/**
 * Opens /dev/null at each of the descriptors 0 to 2 that is closed, so that no socket gets the number at which lines of the
 * log are written. To be called before anything is opened.
 */
void fillStandardDescriptors();

}  // namespace usbip
