#include "support/standard_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

#include "ulx/file_descriptor.h"

namespace support {

CapturedStandardOutput::CapturedStandardOutput()
    : saved_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)), file_(memfd_create("standard output", MFD_CLOEXEC)) {
  std::fflush(stdout);
  dup2(file_, STDOUT_FILENO);
}

CapturedStandardOutput::~CapturedStandardOutput() {
  std::fflush(stdout);
  dup2(saved_, STDOUT_FILENO);
  close(saved_);
  close(file_);
}

std::string CapturedStandardOutput::text() const {
  std::fflush(stdout);
  const off_t end = lseek(file_, 0, SEEK_CUR);
  lseek(file_, 0, SEEK_SET);
  std::string all = ulx::FileDescriptor(file_, false).readAll();
  lseek(file_, end, SEEK_SET);
  return all;
}

}  // namespace support
