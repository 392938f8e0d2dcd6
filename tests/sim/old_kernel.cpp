#include "sim/old_kernel.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace sim {
namespace {

using Filter = std::vector<sock_filter>;

constexpr std::uint32_t architecturePlace = offsetof(seccomp_data, arch);
constexpr std::uint32_t numberPlace = offsetof(seccomp_data, nr);
constexpr std::uint32_t notThere = SECCOMP_RET_ERRNO | ENOSYS;

// The highest numbers of Linux 2.6.32. The calls of x32, which came later, have numbers far above.
constexpr std::uint32_t lastOfX86Of64Bits = 298;  // perf_event_open
constexpr std::uint32_t lastOfX86Of32Bits = 336;  // perf_event_open
constexpr std::uint32_t lastOfPowerPc = 322;      // rt_tgsigqueueinfo

// Linux 2.6.32 on PowerPC has these as parts of one call, socketcall. A C library for that kernel makes that one. Debian's,
// for Linux 3.2 and newer, does not.
constexpr std::uint32_t firstSocketCallOfPowerPc = 326;  // socket
constexpr std::uint32_t lastSocketCallOfPowerPc = 342;   // recvmsg

void append(Filter& filter, const Filter& more) {
  filter.insert(filter.end(), more.begin(), more.end());
}

Filter allowedFrom(std::uint32_t first, std::uint32_t last) {
  return {BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, first, 0, 2), BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, last, 1, 0),
          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
}

// `rules` say what becomes of a number; behind them it is not there.
Filter onArchitecture(std::uint32_t architecture, const Filter& rules) {
  const auto length = static_cast<std::uint8_t>(rules.size() + 2);
  Filter filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, architecturePlace),
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, architecture, 0, length),
                BPF_STMT(BPF_LD | BPF_W | BPF_ABS, numberPlace)};
  append(filter, rules);
  append(filter, {BPF_STMT(BPF_RET | BPF_K, notThere)});
  return filter;
}

Filter filterOfLinux2632() {
  Filter rulesOfPowerPc = allowedFrom(0, lastOfPowerPc);
  append(rulesOfPowerPc, allowedFrom(firstSocketCallOfPowerPc, lastSocketCallOfPowerPc));
  Filter filter;
  append(filter, onArchitecture(AUDIT_ARCH_X86_64, allowedFrom(0, lastOfX86Of64Bits)));
  append(filter, onArchitecture(AUDIT_ARCH_I386, allowedFrom(0, lastOfX86Of32Bits)));
  append(filter, onArchitecture(AUDIT_ARCH_PPC, rulesOfPowerPc));
  // Of other architectures nothing is known here.
  append(filter, {BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS)});
  return filter;
}

}  // namespace

bool limitSystemCallsToLinux2632() {
  Filter filter = filterOfLinux2632();
  const sock_fprog program{.len = static_cast<unsigned short>(filter.size()), .filter = filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace sim
