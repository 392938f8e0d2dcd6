#include "system/explain/circumstances.h"

#include <algorithm>
#include <iterator>

namespace support {

namespace {

constexpr const char* links[] = {"high", "full"};
constexpr const char* silentlyRefused = "isochronous_user_warning = false\n";

std::vector<Circumstances> under(const std::string& classList, const std::vector<std::string>& policies) {
  std::vector<Circumstances> all;
  for (const char* linkSpeed : links) {
    for (const std::string& settings : policies) {
      all.push_back({.classList = classList, .linkSpeed = linkSpeed, .settings = settings});
    }
  }
  return all;
}

void append(std::vector<Circumstances>& all, const std::vector<Circumstances>& more) {
  std::copy(more.begin(), more.end(), std::back_inserter(all));
}

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
          policies.push_back(smartcard + hidOnly + massStorage + isochronous);
        }
      }
    }
  }
  return policies;
}

std::vector<std::string> outermostPolicies() {
  return {"", "smartcard = true\nhid_only = true\nblock_mass_storage = true\n", silentlyRefused};
}

std::vector<Circumstances> everyCircumstance() {
  std::vector<Circumstances> all = under("none", everyPolicy());
  for (const char* classList : {"keyboard", "scsi", "all"}) {
    append(all, under(classList, outermostPolicies()));
  }
  return all;
}

std::vector<Circumstances> circumstancesOfOlderKernels() {
  std::vector<Circumstances> all = {{.classList = "none"}, {.classList = "scsi"}};
  for (const char* classList : {"keyboard", "all"}) {
    append(all, under(classList, outermostPolicies()));
  }
  return all;
}

}  // namespace support
