#include "tools/recorder/error.h"

#include <cstring>

namespace recorder {

Error systemError(const std::string& call, int errorNumber) {
  return Error{call + ": " + std::strerror(errorNumber)};
}

}  // namespace recorder
