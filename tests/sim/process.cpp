#include "sim/process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <ostream>

#include "sim/descriptor.h"
#include "sim/error.h"

namespace sim {

namespace {

constexpr const char* searchPath =
    "PATH=/sim/bin:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
constexpr std::array passedOn = {"ASAN_",         "LSAN_", "UBSAN_",         "GCOV_",
                                 "LLVM_PROFILE_", "QEMU_", "LD_LIBRARY_PATH"};

std::string nameOf(const std::string& variable) {
  return variable.substr(0, variable.find('='));
}

void setVariable(std::vector<std::string>& environment, const std::string& variable) {
  std::erase_if(environment, [&](const std::string& old) { return nameOf(old) == nameOf(variable); });
  if (variable.find('=') != std::string::npos) {
    environment.push_back(variable);
  }
}

std::vector<std::string> environmentWith(const std::vector<std::string>& additions) {
  std::vector<std::string> environment{searchPath};
  for (char* const* variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    if (std::any_of(passedOn.begin(), passedOn.end(),
                    [&](const char* name) { return text.starts_with(name); })) {
      environment.push_back(text);
    }
  }
  for (const std::string& addition : additions) {
    setVariable(environment, addition);
  }
  return environment;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

struct PipeEnds {
  Descriptor reader;
  Descriptor writer;
};

PipeEnds makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw systemError("pipe()");
  }
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// What follows runs in the child, between fork and exec. A step that fails leaves errno and returns false.

bool redirect(int number, ProcessOptions::Output output, const std::string& file) {
  switch (output) {
    case ProcessOptions::Output::closed:
      ::close(number);
      return true;
    case ProcessOptions::Output::brokenPipe:
      return ::dup2(makePipe().writer.get(), number) >= 0;
    case ProcessOptions::Output::captured:
      break;
  }
  const Descriptor opened(::open(file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  return ::dup2(opened.get(), number) >= 0;
}

bool redirectInput(ProcessOptions::Input input) {
  if (input == ProcessOptions::Input::closed) {
    ::close(STDIN_FILENO);
    return true;
  }
  const Descriptor empty(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  return ::dup2(empty.get(), STDIN_FILENO) >= 0;
}

void resetSignals(const ProcessOptions& options) {
  for (int number = 1; number < NSIG; ++number) {
    std::signal(number, SIG_DFL);
  }
  for (const int number : options.ignoredSignals) {
    std::signal(number, SIG_IGN);
  }
  sigset_t blocked;
  sigemptyset(&blocked);
  for (const int number : options.blockedSignals) {
    sigaddset(&blocked, number);
  }
  ::sigprocmask(SIG_SETMASK, &blocked, nullptr);
}

bool setLimits(const ProcessOptions& options) {
  for (const auto& [resource, soft] : options.limits) {
    rlimit limit{};
    ::getrlimit(static_cast<__rlimit_resource>(resource), &limit);
    limit.rlim_cur = soft;
    if (::setrlimit(static_cast<__rlimit_resource>(resource), &limit) != 0) {
      return false;
    }
  }
  return true;
}

bool closeOtherDescriptorsOnExec() {
  return ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
}

bool dieWith(pid_t parent) {
  return ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent;
}

bool enterEnvironment(const ProcessOptions& options, const std::string& outputFile,
                      const std::string& errorFile) {
  ::umask(options.fileModeMask);
  resetSignals(options);
  return ::chdir(options.workingDirectory.c_str()) == 0 &&
         redirect(STDOUT_FILENO, options.standardOutput, outputFile) &&
         redirect(STDERR_FILENO, options.standardError, errorFile) && redirectInput(options.standardInput) &&
         closeOtherDescriptorsOnExec() && setLimits(options);
}

}  // namespace

ProcessEnd ProcessEnd::of(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? killedBy(WTERMSIG(waitStatus)) : exited(WEXITSTATUS(waitStatus));
}

std::ostream& operator<<(std::ostream& out, const ProcessEnd& end) {
  if (end.signal) {
    return out << "signal " << *end.signal;
  }
  return end.status ? out << "status " << *end.status : out << "not ended";
}

pid_t startProcess(const std::vector<std::string>& command, const ProcessOptions& options,
                   const std::string& outputFile, const std::string& errorFile) {
  std::vector<std::string> arguments = command;
  std::vector<std::string> environment = environmentWith(options.environment);
  const std::vector<char*> argv = pointersTo(arguments);
  const std::vector<char*> envp = pointersTo(environment);
  PipeEnds failure = makePipe();
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child < 0) {
    throw systemError("fork()");
  }
  if (child == 0) {
    if (dieWith(parent) && enterEnvironment(options, outputFile, errorFile)) {
      ::execve(argv.front(), argv.data(), envp.data());
    }
    const int reason = errno;
    const bool reported = ::write(failure.writer.get(), &reason, sizeof reason) == sizeof reason;
    ::_exit(reported ? 127 : 126);
  }
  failure.writer.close();
  int reason = 0;
  if (::read(failure.reader.get(), &reason, sizeof reason) > 0) {
    ::waitpid(child, nullptr, 0);
    errno = reason;
    throw systemError("starting " + command.front());
  }
  return child;
}

ProcessEnd runProcess(const std::vector<std::string>& command, const ProcessOptions& options,
                      const std::string& outputFile, const std::string& errorFile) {
  int status = 0;
  if (::waitpid(startProcess(command, options, outputFile, errorFile), &status, 0) == -1) {
    throw systemError("waitpid()");
  }
  return ProcessEnd::of(status);
}

}  // namespace sim
