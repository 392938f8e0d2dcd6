#include "tools/version.h"

const char* const programVersion = USB_RX_VERSION;
