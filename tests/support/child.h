#pragma once

#include <functional>

namespace support {

/**
 * Runs `body` in a forked child: for what must not befall the test program itself (limits, users, signals,
 * namespaces, failing system calls). A failure or an exception in it fails the calling test, a skip skips it.
 * Standard error of the child is the test's.
 */
void inChild(const std::function<void()>& body);

/** inChild, in mounts and a network of its own: empty "/sys", "/vel" and "/var/run", nobody else's uevents.
 */
void inPrivateWorld(const std::function<void()>& body);

/** Takes root's privileges from this process, a child of the test: permissions hold for it as for any user.
 */
void dropPrivileges();

}  // namespace support
