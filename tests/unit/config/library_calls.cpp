#include "unit/config/library_calls.h"

#include "support/wrapped_call.h"

WRAPPED_CALL(int, flock, flock, (int fd, int operation), (fd, operation))
WRAPPED_CALL(int, nanosleep, nanosleep, (const timespec* request, timespec* remaining), (request, remaining))
WRAPPED_CALL(int, fsync, fsync, (int fd), (fd))
WRAPPED_CALL(int, rename, rename, (const char* from, const char* to), (from, to))
WRAPPED_CALL(void, sync, sync, (), ())
WRAPPED_CALL(pid_t, getpid, getpid, (), ())
WRAPPED_CALL(int, fchown, fchown, (int fd, uid_t owner, gid_t group), (fd, owner, group))
WRAPPED_CALL(int, fchmod, fchmod, (int fd, mode_t mode), (fd, mode))
WRAPPED_CALL(void, dumpIni, iniparser_dump_ini, (const dictionary* d, FILE* stream), (d, stream))
