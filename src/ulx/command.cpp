#include "ulx/command.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <utility>

#include "ulx/exceptions.h"

namespace ulx {
namespace {

struct ClosePipe {
  void operator()(FILE* stream) const { pclose(stream); }
};
using CommandPipe = std::unique_ptr<FILE, ClosePipe>;

CommandPipe openPipe(const std::string& command) {
  CommandPipe pipe(popen(command.c_str(), "r"));  // NOLINT(cert-env33-c): the caller asks for the shell
  if (pipe == nullptr) {
    throwErrno({"popen(", command, ")"}, errno);
  }
  return pipe;
}

bool wasInterrupted(FILE* stream) {
  return ferror(stream) != 0 && errno == EINTR;
}

std::string readToEnd(FILE* stream) {
  std::string output;
  std::array<char, 1024> buffer{};
  bool goesOn = true;
  while (goesOn) {
    clearerr(stream);
    const std::size_t count = fread(buffer.data(), 1, buffer.size(), stream);
    goesOn = count == buffer.size() || wasInterrupted(stream);  // asked first: an allocation may change errno
    output.append(buffer.data(), count);
  }
  return output;
}

int closePipe(CommandPipe pipe) {
  const int waitStatus = pclose(pipe.release());
  if (waitStatus == -1) {
    throwErrno("pclose()", errno);
  }
  return waitStatus;
}

// In a wait status, bits 0 to 6 hold the signal, bits 8 to 15 the exit code (glibc's <bits/waitstatus.h>).
int decode(int waitStatus) {
  constexpr unsigned signalBits = 0x7F;
  constexpr unsigned codeShift = 8;
  constexpr unsigned codeBits = 0xFF;
  const auto bits = static_cast<unsigned>(waitStatus);
  return (bits & signalBits) != 0 ? endedBySignal : static_cast<int>((bits >> codeShift) & codeBits);
}

}  // namespace

std::string captureCommand(const std::string& command, int& status) {
  CommandPipe pipe = openPipe(command + " 2>&1");
  std::string output = readToEnd(pipe.get());
  status = decode(closePipe(std::move(pipe)));
  return output;
}

std::string run_cmd(const std::string& command) {
  int status = 0;
  std::string output = captureCommand(command, status);
  if (status != 0) {
    // "exitted": programs in the field search for the word in this spelling.
    throw StrException("run_cmd(" + command + ") exitted with status " + std::to_string(status));
  }
  return output;
}

}  // namespace ulx
