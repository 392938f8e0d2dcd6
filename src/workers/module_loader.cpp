#include "workers/module_loader.h"

#include <cstdlib>
#include <string_view>

#include "ctrl/messages.h"
#include "ulx/command.h"
#include "ulx/path.h"

namespace {

std::string_view modulePath() {
  const char* configured = std::getenv("MODPATH");
  return configured == nullptr || *configured == '\0' ? ".:/lib/modules" : configured;
}

bool loadFrom(std::string_view directory, const std::string& moduleName, const std::string& arguments) {
  const std::string candidate = std::string(directory) + "/" + moduleName + ".ko";
  if (!ulx::pathExists(candidate)) {
    return false;
  }
  int status = 0;
  ulx::captureCommand("insmod " + candidate + " " + arguments, status);
  return true;
}

}  // namespace

void loadKernelModule(const std::string& moduleName, const std::string& arguments) {
  std::string_view rest = modulePath();
  while (!rest.empty()) {
    const std::size_t colon = rest.find(':');
    if (loadFrom(rest.substr(0, colon), moduleName, arguments)) {
      return;
    }
    if (colon == std::string_view::npos) {
      logDebug("didn't find module ", moduleName);
      throw "module not found";
    }
    rest.remove_prefix(colon + 1);
  }
  // A path that ends in ":" asks to do without the module.
}
