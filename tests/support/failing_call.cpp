#include "support/failing_call.h"

#include <linux/filter.h>
#include <linux/net.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <bit>
#include <cstddef>
#include <optional>
#include <span>

namespace support {
namespace {

// The kernel gives every argument as 64 bits; a filter reads 32 at a time.
std::uint32_t lowHalfOf(unsigned argument) {
  const std::size_t place = offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t);
  return static_cast<std::uint32_t>(place + (std::endian::native == std::endian::big ? 4 : 0));
}

bool install(std::span<sock_filter> steps) {
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

bool failEveryCall(long number, int error) {
  std::array<sock_filter, 4> steps{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, numberPlace),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, madeFor(number), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  return install(steps);
}

bool failCallsWith(ArgumentIs argument, long number, int error) {
  std::array<sock_filter, 6> steps{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, numberPlace),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, madeFor(number), 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, lowHalfOf(argument.index)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument.value, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  return install(steps);
}

}  // namespace

bool failSystemCall(long number, int error) {
  const std::optional<std::uint32_t> socketCall = socketCallOf(number);
  return socketCall ? failCallsWith({.index = 0, .value = *socketCall}, callOfSocketCalls, error)
                    : failEveryCall(number, error);
}

bool failSystemCall(long number, ArgumentIs argument, int error) {
  return !socketCallOf(number) && failCallsWith(argument, number, error);
}

}  // namespace support
