#pragma once

#include <string>

/**
 * Loads the kernel modules that a file lists, in its order: on each line the path of a module and, behind a
 * blank, its options. Throws std::system_error for a module that the kernel refuses. No file means no
 * modules.
 */
void loadModules(const std::string& listPath);
