#include "examples/usbip/exchange/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace usbip {

void fillStandardDescriptors() {
  int lowestFree = ::open("/dev/null", O_RDWR);
  while (lowestFree >= 0 && lowestFree <= STDERR_FILENO) {
    lowestFree = ::open("/dev/null", O_RDWR);
  }
  if (lowestFree > STDERR_FILENO) {
    ::close(lowestFree);
  }
}

}  // namespace usbip
