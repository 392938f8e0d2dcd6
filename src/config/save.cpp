#include "config/save.h"

#include <fcntl.h>
#include <libgen.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "config/locked_file.h"

namespace {

// Holds every path that configOpenLocked accepts, with the suffix of a temporary file.
using Path = std::array<char, 300>;

int openDirectoryOf(const char* path) {
  Path copy{};  // dirname(3) may modify it
  std::snprintf(copy.data(), copy.size(), "%s", path);
  return open(dirname(copy.data()), O_RDONLY);
}

// A save does not change who may read and write the file. Failures are ignored: the process may lack the
// right to give files away, and not every file system has owners.
void copyOwnerAndPermissions(int from, int to) {
  struct stat status {};
  if (fstat(from, &status) == 0) {
    static_cast<void>(fchown(to, status.st_uid, status.st_gid));
    fchmod(to, status.st_mode);
  }
}

// The file is on disk when this returns true.
bool writeDurably(const ConfigDictionary* d, FILE* stream) {
  iniparser_dump_ini(d, stream);
  return std::ferror(stream) == 0 && std::fflush(stream) == 0 && fsync(fileno(stream)) == 0;
}

bool writeTemporary(const ConfigDictionary* d, const char* temporary, int present) {
  FILE* stream = std::fopen(temporary, "w");
  if (stream == nullptr) {
    return false;
  }
  copyOwnerAndPermissions(present, fileno(stream));
  const bool written = writeDurably(d, stream);
  std::fclose(stream);
  return written;
}

// Only a complete new file replaces the old one. Afterwards the change of the directory is made durable too.
bool replace(const ConfigDictionary* d, const char* path, int present, int directory) {
  Path temporary{};
  std::snprintf(temporary.data(), temporary.size(), "%s.tmp.%05d", path, static_cast<int>(getpid()));
  if (!writeTemporary(d, temporary.data(), present)) {
    return false;
  }
  const bool renamed = std::rename(temporary.data(), path) == 0;
  sync();
  fsync(directory);
  return renamed;
}

}  // namespace

int configSave(const ConfigDictionary* d, const char* path) {
  if (d == nullptr) {
    return -1;
  }
  FILE* present = configOpenLocked(path, "a", LOCK_EX);
  if (present == nullptr) {
    return -1;
  }
  const int directory = openDirectoryOf(path);
  const bool replaced = directory != -1 && replace(d, path, fileno(present), directory);
  if (directory != -1) {
    close(directory);
  }
  configLockFile(fileno(present), LOCK_UN);
  std::fclose(present);
  return replaced ? 0 : -1;
}
