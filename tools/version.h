#pragma once

/** The version of all programs of the project, e.g. "1.1.0". */
extern const char* const programVersion;
