#pragma once

#include <string>
#include <string_view>

#include "examples/usbip/exchange/proofs.h"

namespace usbip {

/**
 * The keys in a file of one line, IN OUT: the same words in the same order as behind --keys of the daemon. Empty lines
 * do not count, nor do those that begin with "#". Throws a ulx::StrException that names `path` for any other content,
 * and for a file that others than its owner may use; open("PATH"), read("PATH").
 */
[[nodiscard]] Keys readKeyFile(const std::string& path);

}  // namespace usbip
