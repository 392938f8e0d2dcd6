#pragma once

#include "ctrl/settings.h"

namespace support {

/** A scope in which a test may change the process-wide settings. They are the defaults when it begins. */
class RestoredSettings {
 public:
  RestoredSettings() { reset(); }
  RestoredSettings(const RestoredSettings&) = delete;
  RestoredSettings& operator=(const RestoredSettings&) = delete;
  ~RestoredSettings() { reset(); }

 private:
  static void reset() {
    settings = Settings();
    policyReloadRequested = 0;
  }
};

}  // namespace support
