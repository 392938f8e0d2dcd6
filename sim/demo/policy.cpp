#include "sim/demo/policy.h"

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

void Policy::change(const PolicyChanges& changes) {
  for (const auto& [key, value] : changes) {
    demandOneOf(keys(), key, "policy key");
    demandOneOf(possibleValues, value, "value");
  }
  for (const auto& [key, value] : changes) {
    if (value == "default") {
      values_.erase(key);
    } else {
      values_[key] = value;
    }
  }
}

std::string Policy::fileText() const {
  std::string text = "[usb]\n";
  for (const auto& [key, value] : values_) {
    text += key + "=" + value + "\n";
  }
  return text;
}

std::string Policy::summary() const {
  std::vector<std::string> settings;
  for (const auto& [key, value] : values_) {
    settings.push_back(key + "=" + value);
  }
  return settings.empty() ? "nothing: every key has its default" : "[usb] " + listOf(settings);
}

}  // namespace demo
