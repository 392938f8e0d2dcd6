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

constexpr auto sameOwner = static_cast<uid_t>(-1);

// Members of the new file's group, which is not the old one's, were among the others for the old file.
mode_t withGroupAsOthers(mode_t mode) {
  constexpr unsigned groupShift = 3;
  const mode_t others = (mode & S_IRWXO) << groupShift;
  return (mode & ~static_cast<mode_t>(S_IRWXG | S_ISUID | S_ISGID)) | (mode & S_IRWXG & others);
}

// A save does not change who may read and write the file. The owner comes first: a change of owner clears
// bits of the mode. Failures are no failures of the save: the process may lack the right to give files away,
// and not every file system has owners. Nobody gains access by them.
void copyOwnerAndPermissions(int from, int to) {
  struct stat status {};
  if (fstat(from, &status) != 0) {
    return;
  }
  const bool hasGroup =
      fchown(to, status.st_uid, status.st_gid) == 0 || fchown(to, sameOwner, status.st_gid) == 0;
  fchmod(to, hasGroup ? status.st_mode : withGroupAsOthers(status.st_mode));
}

// The file is its writer's alone until it has the old file's owner and mode, which is before its first byte.
// A save that was killed may have left one: it would keep its own.
FILE* createTemporary(const char* path, int present) {
  unlink(path);
  const int fd = open(path, O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
  if (fd == -1) {
    return nullptr;
  }
  copyOwnerAndPermissions(present, fd);
  FILE* stream = fdopen(fd, "w");
  if (stream == nullptr) {
    close(fd);
  }
  return stream;
}

// The file is on disk when this returns true.
bool writeDurably(const ConfigDictionary* d, FILE* stream) {
  iniparser_dump_ini(d, stream);
  return std::ferror(stream) == 0 && std::fflush(stream) == 0 && fsync(fileno(stream)) == 0;
}

bool writeTemporary(const ConfigDictionary* d, const char* temporary, int present) {
  FILE* stream = createTemporary(temporary, present);
  if (stream == nullptr) {
    return false;
  }
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
