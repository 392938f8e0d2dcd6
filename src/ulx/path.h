#pragma once

#include <string>

namespace ulx {

/** Whether something is at `path`, symbolic links followed. Throws stat(PATH) where that cannot be told. */
bool pathExists(const std::string& path);

}  // namespace ulx
