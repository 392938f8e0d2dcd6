#include "config/locked_file.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>

namespace {

constexpr std::size_t longestPath = 254;
constexpr int eagerAttempts = 20;
constexpr int lastAttempt = 100;
constexpr long pauseNanoseconds = 1'000'000;

bool isDirectory(FILE* stream) {
  struct stat status {};
  return fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode);
}

// fopen succeeds for reading a directory, but each read from it fails.
FILE* openFile(const char* path, const char* mode) {
  FILE* stream = std::fopen(path, mode);
  if (stream != nullptr && isDirectory(stream)) {
    std::fclose(stream);
    stream = nullptr;
  }
  return stream;
}

bool isFileAt(const char* path, FILE* stream) {
  struct stat opened {};
  struct stat present {};
  return fstat(fileno(stream), &opened) == 0 && stat(path, &present) == 0 && opened.st_ino == present.st_ino;
}

void pauseAfter(int attempt, int lockOp) {
  if ((lockOp & LOCK_NB) == 0 && attempt <= eagerAttempts) {
    return;
  }
  const timespec pause{.tv_sec = 0, .tv_nsec = pauseNanoseconds};
  nanosleep(&pause, nullptr);
}

}  // namespace

FILE* configOpenLocked(const char* path, const char* mode, int lockOp) {
  if (std::strlen(path) > longestPath) {
    return nullptr;
  }
  for (int attempt = 1; attempt <= lastAttempt; ++attempt) {
    FILE* stream = openFile(path, mode);
    if (stream == nullptr) {
      // The closing quote is missing: programs in the field match the line in this form.
      std::printf("Config failed to open file '%s\n", path);
      return nullptr;
    }
    if (configLockFile(fileno(stream), lockOp) == 0 && isFileAt(path, stream)) {
      return stream;
    }
    std::fclose(stream);
    pauseAfter(attempt, lockOp);
  }
  return nullptr;
}

int configLockFile(int fd, int lockOp) {
  int result = 0;
  do {
    result = flock(fd, lockOp);
  } while (result == -1 && errno == EINTR);
  if (result == -1) {
    std::puts("Config unable to set lock");
    return -1;
  }
  return 0;
}
