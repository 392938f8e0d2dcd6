#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "soak/random.h"

namespace soak {

/** An action and a devpath. */
using Announcement = std::pair<std::string, std::string>;

/** What a datagram announces to the daemon; nothing where it must ignore it without a word. */
[[nodiscard]] std::optional<Announcement> announcementIn(const std::string& datagram);

/** A datagram about a device that takes more memory than all others. */
[[nodiscard]] std::string hugeDatagram(const std::string& devpath);

/** A datagram that no kernel sends, about one of these devices (physical directories) or about none. */
[[nodiscard]] std::string oddDatagram(Random& random, const std::vector<std::string>& devices);

}  // namespace soak
