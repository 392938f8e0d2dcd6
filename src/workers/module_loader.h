#pragma once

#include <string>

/**
 * Loads the kernel module `moduleName` with `arguments` by insmod, whose outcome is not looked at. The file,
 * `moduleName` + ".ko", is looked for in the directories of the environment variable MODPATH, divided by ":"
 * (unset or empty: the working directory, then "/lib/modules"). Ready for a worker that needs a driver;
 * nothing calls it yet.
 *
 * Throws the bare text "module not found" where no directory has it, except that a path which ends in ":"
 * ends the search quietly. Throws stat(FILE) for a file that cannot be looked for.
 */
void loadKernelModule(const std::string& moduleName, const std::string& arguments);
