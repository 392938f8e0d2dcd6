#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/explain/request.h"
#include "workers/admission_policy.h"
#include "workers/worker_arguments.h"

namespace explain {

/** A yes or no of the configuration. */
struct Setting {
  std::string key;
  std::optional<std::string> text;  // as configured
  bool isReadable = true;           // whether the text says yes or no
};

/** What has become of the configuration. */
enum class ConfigurationState {
  loaded,
  missing,     // every key has its default
  unloadable,  // the same, though it is there
};

/** What a device's treatment depends on besides the device. */
struct Circumstances {
  std::string configuration;  // its file
  ConfigurationState configurationState = ConfigurationState::missing;
  AdmissionPolicy policy;
  std::uint32_t classes = 0;
  std::string linkSpeed;
  TransmitterLink link{.interface = {}, .hostname = {}, .port = 0};
  bool isTransmitterKnown = false;
};

/**
 * What the daemon would have at its start, of the configuration and of these options. Reports a configuration that
 * cannot be loaded as the daemon does. Throws Error for one with which the daemon would not start.
 */
[[nodiscard]] Circumstances readCircumstances(const Request& request);

/** What the configuration says of the key `key`, whose text the daemon takes for a yes or no. */
[[nodiscard]] Setting readSetting(const char* key);

}  // namespace explain
