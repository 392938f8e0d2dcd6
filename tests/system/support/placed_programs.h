#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace support {

/** Puts the stand-in worker at `path`, as a file of its own; the directories above it are made. */
void placeProgram(const std::string& path);

/** Puts an executable file with this content there. */
void placeText(const std::string& path, const std::string& content);

/** The file that the process executes. */
std::string executedFileOf(pid_t process);

/** The arguments that the process was started with. */
std::vector<std::string> argumentsOf(pid_t process);

}  // namespace support
