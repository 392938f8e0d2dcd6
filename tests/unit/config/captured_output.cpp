#include "unit/config/captured_output.h"

#include <unistd.h>

#include <array>

CapturedOutput::CapturedOutput(FILE* stream)
    : stream_(stream), saved_(dup(fileno(stream))), file_(std::tmpfile()) {
  std::fflush(stream_);
  dup2(fileno(file_), fileno(stream_));
}

CapturedOutput::~CapturedOutput() {
  std::fflush(stream_);
  dup2(saved_, fileno(stream_));
  close(saved_);
  std::fclose(file_);
}

std::string CapturedOutput::text() const {
  std::fflush(stream_);
  std::string all;
  std::array<char, 4096> some{};
  for (ssize_t count = 0;
       (count = pread(fileno(file_), some.data(), some.size(), static_cast<off_t>(all.size()))) > 0;) {
    all.append(some.data(), static_cast<std::size_t>(count));
  }
  return all;
}
