#pragma once

#include <stdexcept>
#include <string>

namespace recorder {

/** A device cannot be recorded, or a recording cannot be read; the text says why. */
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** The error of a failed system call: the call and its object, then the text of the error number. */
[[nodiscard]] Error systemError(const std::string& call, int errorNumber);

}  // namespace recorder
