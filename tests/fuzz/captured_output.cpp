#include "fuzz/captured_output.h"

#include <cstdlib>

#include "fuzz/check.h"

namespace fuzz {

CapturedOutput::CapturedOutput() : replaced_(stdout) {
  stdout = open_memstream(&bytes_, &size_);
  check(stdout != nullptr, "output can be captured");
}

CapturedOutput::~CapturedOutput() {
  std::fclose(stdout);
  stdout = replaced_;
  std::free(bytes_);  // NOLINT(cppcoreguidelines-no-malloc): as open_memstream wants it
}

std::string CapturedOutput::text() const {
  std::fflush(stdout);
  return {bytes_, size_};
}

}  // namespace fuzz
