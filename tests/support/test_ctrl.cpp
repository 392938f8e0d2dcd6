#include "support/test_ctrl.h"

#include <unistd.h>

namespace support {

TestCtrl::TestCtrl() : ctrl_("host", 5000, "high", 0, nullptr, nullptr, "10", directory_ / "socket", "eth1") {
  if (ctrl_.osd.isOpen) {
    close(ctrl_.osd.fd);
  }
  ctrl_.osd.fd = display_.releaseWriteEnd();
  ctrl_.osd.isOpen = true;
  ctrl_.policy = AdmissionPolicy();
}

}  // namespace support
