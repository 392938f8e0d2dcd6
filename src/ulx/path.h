#pragma once

#include <string>

namespace ulx {

/** Whether `path` exists, with symbolic links followed. Throws stat(PATH) when that cannot be found out. */
bool pathExists(const std::string& path);

}  // namespace ulx
