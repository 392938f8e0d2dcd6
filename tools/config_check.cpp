#include "tools/config_check.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "config/entries.h"
#include "ulx/items.h"

namespace {

bool isFlag(std::string_view value) {
  return !value.empty() && std::string_view("1tTyY0fFnN").find(value.front()) != std::string_view::npos;
}

// The daemon doubles it in 32 bits.
constexpr std::uint32_t mostSeconds = std::numeric_limits<std::int32_t>::max() / 2;

bool isSeconds(std::string_view value) {
  std::uint32_t seconds = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
  return error == std::errc() && end == value.data() + value.size() && seconds <= mostSeconds;
}

bool hasOnly(std::string_view list, std::initializer_list<std::string_view> known) {
  bool only = true;
  ulx::forEachItem(list, ',', [&only, known](std::string_view item) {
    only = only && std::ranges::find(known, item) != known.end();
  });
  return only;
}

bool isDebugList(std::string_view value) {
  return hasOnly(value, {"none", "ctrl", "generic", "keyboard", "scsi"});
}

bool isClassList(std::string_view value) {
  return hasOnly(value, {"none", "keyboard", "scsi", "all"});
}

bool isProgram(std::string_view value) {
  return !value.empty();
}

bool isNoDenial(std::string_view value) {
  return value.empty() || std::string_view("0fFnN").find(value.front()) == std::string_view::npos;
}

struct KnownKey {
  std::string_view name;
  std::string_view meaning;
  bool (*takes)(std::string_view value);
};

constexpr std::array<KnownKey, 10> knownKeys{{
    {"usb:debug", "a list of none, ctrl, generic, keyboard, scsi", isDebugList},
    {"usb:classes", "a list of none, keyboard, scsi, all", isClassList},
    {"usb:log_to_syslog", "looked at (it switches on whatever its value)", isNoDenial},
    {"usb:connect_fail_timeout", "a whole number of seconds up to 1073741823", isSeconds},
    {"usb:hid_only", "yes or no", isFlag},
    {"usb:block_mass_storage", "yes or no", isFlag},
    {"usb:smartcard", "yes or no", isFlag},
    {"usb:isochronous_enabled", "yes or no", isFlag},
    {"usb:isochronous_user_warning", "yes or no", isFlag},
    {"apps:quor_usb_rx_generic", "a program", isProgram},
}};

std::optional<std::string> findFault(std::string_view key, std::string_view value) {
  const std::string setting = std::string(key) + " = " + std::string(value);
  const auto* known = std::ranges::find(knownKeys, key, &KnownKey::name);
  if (known == knownKeys.end()) {
    return "unknown key: " + setting;
  }
  if (!known->takes(value)) {
    return "not " + std::string(known->meaning) + ": " + setting;
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> checkConfiguration(const ConfigDictionary* d) {
  std::vector<std::string> faults;
  forEachEntry(d, [&faults](const char* key, const char* value) {
    if (value == nullptr) {
      return;  // a section
    }
    if (const auto fault = findFault(key, value)) {
      faults.push_back(*fault);
    }
  });
  return faults;
}
