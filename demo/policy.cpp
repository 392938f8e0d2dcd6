#include "demo/policy.h"

#include <algorithm>

#include "sim/error.h"

namespace demo {

namespace {

const std::vector<std::string> possibleValues = {"yes", "no", "default"};

std::string listOf(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words) {
    list += (list.empty() ? "" : ", ") + word;
  }
  return list;
}

void demandOneOf(const std::vector<std::string>& possible, const std::string& word, const std::string& what) {
  if (std::find(possible.begin(), possible.end(), word) == possible.end()) {
    throw sim::Error("\"" + word + "\" is no " + what + "; possible are " + listOf(possible));
  }
}

}  // namespace

const std::vector<std::string>& Policy::keys() {
  static const std::vector<std::string> all = {"hid_only", "block_mass_storage", "smartcard",
                                               "isochronous_enabled", "isochronous_user_warning"};
  return all;
}

std::vector<CommandLine> Policy::change(const PolicyChanges& changes) {
  for (const auto& [key, value] : changes) {
    demandOneOf(keys(), key, "policy key");
    demandOneOf(possibleValues, value, "value");
  }
  std::vector<CommandLine> commands;
  for (const auto& [key, value] : changes) {
    if (value != "default") {
      values_[key] = value;
      commands.push_back({"set", "usb:" + key, value});
    } else if (values_.erase(key) > 0) {
      commands.push_back({"unset", "usb:" + key});
    }
  }
  return commands;
}

std::string Policy::summary() const {
  std::vector<std::string> settings;
  for (const auto& [key, value] : values_) {
    settings.emplace_back(key).append("=").append(value);
  }
  return settings.empty() ? "nothing: every key has its default" : "[usb] " + listOf(settings);
}

}  // namespace demo
