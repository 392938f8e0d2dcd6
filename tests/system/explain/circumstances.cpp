#include "system/explain/circumstances.h"

#include <cstddef>

namespace support {

namespace {

constexpr const char* silentlyRefused = "isochronous_user_warning = false\n";

}  // namespace

std::string Circumstances::text() const {
  std::string lines = settings;
  for (std::size_t end = lines.find('\n'); end != std::string::npos; end = lines.find('\n')) {
    lines.replace(end, 1, end + 1 == lines.size() ? "" : ", ");
  }
  return "class " + classList + ", " + linkSpeed + "-speed link, " + (lines.empty() ? "no key" : lines);
}

std::string configurationWith(const std::string& settings) {
  return "[usb]\n" + settings;
}

std::vector<std::string> everyPolicy() {
  std::vector<std::string> policies;
  for (const std::string smartcard : {"", "smartcard = true\n"}) {
    for (const std::string hidOnly : {"", "hid_only = true\n"}) {
      for (const std::string massStorage : {"", "block_mass_storage = true\n"}) {
        for (const std::string isochronous : {"", "isochronous_enabled = true\n", silentlyRefused}) {
          std::string& policy = policies.emplace_back(smartcard);
          policy += hidOnly;
          policy += massStorage;
          policy += isochronous;
        }
      }
    }
  }
  return policies;
}

Circumstances mildest(const std::string& classList) {
  return {.classList = classList, .linkSpeed = "high", .settings = "isochronous_enabled = true\n"};
}

Circumstances strictest(const std::string& classList) {
  return {.classList = classList,
          .linkSpeed = "full",
          .settings = "smartcard = true\nhid_only = true\nblock_mass_storage = true\n"};
}

std::vector<Circumstances> everyCircumstance() {
  std::vector<Circumstances> all;
  for (const char* linkSpeed : {"high", "full"}) {
    for (const std::string& settings : everyPolicy()) {
      all.push_back({.classList = "none", .linkSpeed = linkSpeed, .settings = settings});
    }
  }
  for (const char* classList : {"keyboard", "scsi", "all"}) {
    all.push_back(mildest(classList));
    all.push_back(strictest(classList));
  }
  return all;
}

std::vector<Circumstances> circumstancesOfOlderKernels() {
  return {mildest("none"),     mildest("scsi"), strictest("keyboard"),
          mildest("keyboard"), mildest("all"),  strictest("all")};
}

}  // namespace support
