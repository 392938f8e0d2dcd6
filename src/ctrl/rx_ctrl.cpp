#include "ctrl/rx_ctrl.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

namespace {

// A unit without a display lacks it; the sink is then closed for the whole run.
constexpr const char* osdPath = "/dev/osd_fifo";

LinkKey keyFrom(const char* text) {
  return text == nullptr ? LinkKey() : LinkKey(text);
}

}  // namespace

RxCtrl::RxCtrl(std::string hostnameText, std::uint16_t portNumber, std::string speedWord,
               std::uint32_t classMask, const char* inkeyText, const char* outkeyText,
               std::string timeoutText, std::string controlPath, std::string interfaceName)
    : hostname(std::move(hostnameText)),
      port(portNumber),
      speed(std::move(speedWord)),
      classes(classMask),
      inkey(keyFrom(inkeyText)),
      outkey(keyFrom(outkeyText)),
      listener(controlPath),
      uevents(std::make_unique<NetlinkClientSocket>()),
      socketPath(std::move(controlPath)),
      interface(std::move(interfaceName)),
      osd(osdPath),
      policy(readAdmissionPolicy()),
      connectFailTimeoutText(std::move(timeoutText)),
      restartPeriod(restartPeriodOf(connectFailTimeoutText)) {}

void RxCtrl::addWorker(pid_t pid, const std::string& devpath) {
  workers.add(pid, devpath);
}

double restartPeriodOf(const std::string& timeoutText) {
  // The unit's long has 32 bits; elsewhere the same range is kept, and doubling wraps as it does there.
  using Limits = std::numeric_limits<std::int32_t>;
  const long parsed = std::strtol(timeoutText.c_str(), nullptr, 10);
  const auto timeout = static_cast<std::int32_t>(std::clamp<long>(parsed, Limits::min(), Limits::max()));
  return static_cast<std::int32_t>(2U * static_cast<std::uint32_t>(timeout));
}
