#pragma once

#include <initializer_list>
#include <stdexcept>
#include <string_view>

namespace recorder {

/** A device cannot be recorded, or a recording cannot be read; the text says why. */
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** The error of a failed system call: the call and its object, then the text of the error number. */
[[nodiscard]] Error systemError(std::string_view call, int errorNumber);
/** The same with the call in pieces: composing it beside `errno` could change that first. */
[[nodiscard]] Error systemError(std::initializer_list<std::string_view> pieces, int errorNumber);

}  // namespace recorder
