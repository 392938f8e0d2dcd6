#include "workers/announcement.h"

void announceAttached(const OsdSink& osd, const std::string& deviceName) {
  OsdMessage(osd, deviceName) << " attached";
}
