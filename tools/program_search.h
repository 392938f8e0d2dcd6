#pragma once

#include <string>

enum class ProgramSearch { found, missing, notExecutable };

/**
 * Looks for `program` as execvp does: a name with a slash is a path, any other is looked for in the folders of PATH,
 * and one that cannot be executed does not end the search.
 */
ProgramSearch searchProgram(const std::string& program);
