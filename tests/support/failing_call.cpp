#include "support/failing_call.h"

#include <linux/filter.h>
#include <linux/net.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <bit>
#include <cstddef>
#include <optional>
#include <vector>

namespace support {
namespace {

// The kernel gives every argument as 64 bits; a filter reads 32 at a time.
std::uint32_t lowHalfOf(unsigned argument) {
  const std::size_t place = offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t);
  return static_cast<std::uint32_t>(place + (std::endian::native == std::endian::big ? 4 : 0));
}

bool install(std::vector<sock_filter> steps) {
  const sock_fprog program{.len = static_cast<unsigned short>(steps.size()), .filter = steps.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

constexpr std::uint32_t numberPlace = offsetof(seccomp_data, nr);

// The system call that the C library makes where it is asked for this one.
std::uint32_t madeFor(long number) {
#ifdef SYS_fcntl64
  if (number == SYS_fcntl) {
    return SYS_fcntl64;
  }
#endif
  return static_cast<std::uint32_t>(number);
}

// i386's library makes its socket calls through one system call, socketcall: the first argument tells which
// it is, and the second leads to its arguments, where no filter can look.
std::optional<std::uint32_t> socketCallOf([[maybe_unused]] long number) {
#ifdef __i386__
  switch (number) {
    case SYS_listen:
      return SYS_LISTEN;
    case SYS_recvfrom:
      return SYS_RECVFROM;
    default:
      break;
  }
#endif
  return std::nullopt;
}

#ifdef SYS_socketcall
constexpr long callOfSocketCalls = SYS_socketcall;
#else
constexpr long callOfSocketCalls = -1;
#endif

std::vector<sock_filter> stepsFor(const FailingCall& call) {
  const std::uint32_t failure = SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(call.error);
  std::vector<sock_filter> steps{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, numberPlace)};
  if (call.argument) {
    steps.insert(steps.end(), {BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, madeFor(call.number), 0, 3),
                               BPF_STMT(BPF_LD | BPF_W | BPF_ABS, lowHalfOf(call.argument->index)),
                               BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.argument->value, 0, 1)});
  } else {
    steps.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, madeFor(call.number), 0, 1));
  }
  steps.insert(steps.end(),
               {BPF_STMT(BPF_RET | BPF_K, failure), BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)});
  return steps;
}

}  // namespace

bool failSystemCall(const FailingCall& call) {
  const std::optional<std::uint32_t> socketCall = socketCallOf(call.number);
  if (!socketCall) {
    return install(stepsFor(call));
  }
  const ArgumentIs thisOne{.index = 0, .value = *socketCall};
  return !call.argument &&
         install(stepsFor({.number = callOfSocketCalls, .error = call.error, .argument = thisOne}));
}

}  // namespace support
