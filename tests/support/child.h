#pragma once

#include <functional>

#include "support/failing_call.h"

namespace support {

/**
 * Runs `body` in a forked child: for what changes a process for good (limits, privileges, signals, failing
 * system calls), and for what ends it. A failure or an exception in it fails the calling test, a skip skips
 * it. Standard error of the child is the test's.
 */
void inChild(const std::function<void()>& body);

/** inChild, in mounts and a network of its own, as support/private_world.h has them. */
void inPrivateWorld(const std::function<void()>& body);

/** inChild, while this system call fails; skips the test where the kernel cannot do that. */
void inChildWithFailing(const FailingCall& call, const std::function<void()>& body);

/** Takes root's privileges from this process, a child of the test. Permissions hold for it as for any user. */
void dropPrivileges();

}  // namespace support
