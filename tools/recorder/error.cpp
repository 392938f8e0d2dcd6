#include "tools/recorder/error.h"

#include <cstring>
#include <string>

namespace recorder {

Error systemError(std::string_view call, int errorNumber) {
  return Error{std::string(call) + ": " + std::strerror(errorNumber)};
}

Error systemError(std::initializer_list<std::string_view> pieces, int errorNumber) {
  std::string call;
  for (const std::string_view piece : pieces) {
    call += piece;
  }
  return systemError(call, errorNumber);
}

}  // namespace recorder
