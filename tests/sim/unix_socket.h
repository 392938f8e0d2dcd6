#pragma once

#include <sys/un.h>

#include <string>

#include "sim/descriptor.h"

namespace sim {

/** The address of a path. Throws Error when it is too long for a socket. */
[[nodiscard]] sockaddr_un unixAddress(const std::string& path);

/** A socket of this type (SOCK_STREAM, SOCK_DGRAM) bound to a path; its calls never block. Throws Error. */
[[nodiscard]] Descriptor bindTo(const std::string& path, int type);

/** A stream socket connected to the one that listens at a path; its calls may block. Throws Error. */
[[nodiscard]] Descriptor connectTo(const std::string& path);

}  // namespace sim
