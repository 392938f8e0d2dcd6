#include "tests/support/failing_call.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <array>
#include <bit>
#include <cstddef>
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

}  // namespace

bool failSystemCall(long number, int error) {
  std::array<sock_filter, 4> steps{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, numberPlace),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  return install(steps);
}

bool failSystemCall(long number, ArgumentIs argument, int error) {
  std::array<sock_filter, 6> steps{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, numberPlace),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, lowHalfOf(argument.index)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument.value, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  return install(steps);
}

}  // namespace support
