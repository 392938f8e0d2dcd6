#include "ulx/program_call.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace ulx {
namespace {

constexpr std::string_view standardPath = "/bin:/usr/bin";

// Whether a candidate that failed like this leaves hope for the next one.
bool passesOver(int error) {
  switch (error) {
    case EACCES:
    case ENOENT:
    case ENOTDIR:
    case ENODEV:
    case ESTALE:
    case ETIMEDOUT:
      return true;
    default:
      return false;
  }
}

void addCandidate(std::string& candidates, std::string_view folder, const std::string& program) {
  candidates += folder;
  if (!folder.empty()) {
    candidates += '/';
  }
  candidates += program;
  candidates += '\0';
}

}  // namespace

std::string programCandidates(const std::string& program) {
  std::string candidates;
  if (program.empty() || program.find('/') != std::string::npos) {
    addCandidate(candidates, "", program);
    return candidates;
  }
  const char* const path = std::getenv("PATH");
  std::string_view folders = path != nullptr ? path : standardPath;
  // Unlike a list of items, PATH has an empty folder behind a separator at its end.
  while (true) {
    const std::string_view folder = folders.substr(0, folders.find(':'));
    if (folder.size() < PATH_MAX) {
      addCandidate(candidates, folder, program);
    }
    if (folder.size() == folders.size()) {
      return candidates;
    }
    folders.remove_prefix(folder.size() + 1);
  }
}

ProgramCall::ProgramCall(std::vector<std::string>& arguments)
    : candidates_(programCandidates(arguments.front())) {
  vector_.reserve(arguments.size() + 2);
  vector_.push_back(shell_.data());
  for (std::string& argument : arguments) {
    vector_.push_back(argument.data());
  }
  vector_.push_back(nullptr);
}

void ProgramCall::execute() {
  char* const end = candidates_.data() + candidates_.size();
  for (char* candidate = candidates_.data(); candidate != end; candidate += std::strlen(candidate) + 1) {
    tryCandidate(candidate);
    if (!passesOver(errno)) {
      return;
    }
  }
}

void ProgramCall::tryCandidate(char* path) {
  ::execve(path, arguments(), environ);
  if (errno == ENOEXEC) {
    char*& script = *arguments();
    char* const program = std::exchange(script, path);
    ::execve(shell_.c_str(), vector_.data(), environ);
    script = program;
  }
}

}  // namespace ulx
