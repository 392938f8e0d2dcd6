#pragma once

namespace sim {

/**
 * From now on every system call that Linux 2.6.32 does not have fails with ENOSYS, in this process and in what it
 * starts. Only their numbers are looked at: flags and options that the old kernel does not know still work, and so does
 * all that the running kernel does differently. False where the kernel cannot do that.
 */
[[nodiscard]] bool limitSystemCallsToLinux2632();

}  // namespace sim
