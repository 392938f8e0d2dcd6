#include "tools/recorder/serial_numbers.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace recorder {

namespace {

/** Of HID devices, their input nodes, and their batteries. */
constexpr std::array<std::string_view, 3> revealingKeys = {
    "HID_UNIQ=", "UNIQ=", "POWER_SUPPLY_SERIAL_NUMBER="};

std::string withoutSerialNumber(const std::string& item) {
  const auto* key = std::find_if(revealingKeys.begin(), revealingKeys.end(),
                                 [&](std::string_view revealing) { return item.starts_with(revealing); });
  if (key == revealingKeys.end()) {
    return item;
  }
  // Input nodes quote their texts.
  const bool isQuoted = item.substr(key->size()).starts_with('"');
  return std::string(*key) + (isQuoted ? "\"\"" : "");
}

}  // namespace

std::string withoutSerialNumbers(const std::string& items, char end) {
  std::string changed;
  std::size_t begin = 0;
  for (std::size_t at = items.find(end); at != std::string::npos; at = items.find(end, begin)) {
    changed += withoutSerialNumber(items.substr(begin, at - begin)) + end;
    begin = at + 1;
  }
  return changed + withoutSerialNumber(items.substr(begin));
}

}  // namespace recorder
