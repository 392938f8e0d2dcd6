#pragma once

#include <string>
#include <vector>

#include "ctrl/rx_ctrl.h"
#include "support/output.h"
#include "support/restored_settings.h"
#include "support/temporary_directory.h"

namespace support {

/**
 * The daemon's state for a test: control socket in a directory of its own, default policy whatever the host
 * is configured for, and a display that the test reads. Settings are the defaults around it.
 */
class TestCtrl {
 public:
  TestCtrl();

  RxCtrl* operator->() { return &ctrl_; }
  const RxCtrl* operator->() const { return &ctrl_; }
  RxCtrl& operator*() { return ctrl_; }

  /** What the display was told since the last call, one element for each write. */
  [[nodiscard]] std::vector<std::string> shown() const { return display_.writes(); }

 private:
  RestoredSettings settings_;
  TemporaryDirectory directory_;
  PacketPipe display_;
  RxCtrl ctrl_;
};

}  // namespace support
