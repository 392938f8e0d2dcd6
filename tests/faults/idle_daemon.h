#pragma once

#include <sys/types.h>

/** Whether the process sleeps in select(): it has served every source, and nothing has come since. */
[[nodiscard]] bool sleepsInSelect(pid_t process);

/** Whether a child of the process has ended and was not waited for. */
[[nodiscard]] bool hasZombie(pid_t process);
/** Whether the process is one that has ended and was not waited for. */
[[nodiscard]] bool isZombie(pid_t process);
