// Stands in for every worker program of the unit: reports how it was started, then ends as its unit orders.
//
// It looks before it touches anything: the report is taken before the connection is made, and neither signal
// dispositions nor descriptors are changed. It links no more than the C library's own start-up needs, because
// the daemon starts it hundreds of times in one test.

#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "sim/worker_protocol.h"

namespace {

constexpr int statusWithoutUnit = 70;

void addField(std::string& record, const char* name, std::string_view content) {
  record += name;
  record += ' ';
  record += std::to_string(content.size());
  record += '\n';
  record += content;
}

std::string listOf(char* const* texts) {
  std::string list;
  for (; *texts != nullptr; ++texts) {
    list.append(*texts, std::strlen(*texts) + 1);
  }
  return list;
}

std::string linkTarget(const std::string& path) {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  return length < 0 ? std::string() : std::string(target.data(), static_cast<std::size_t>(length));
}

/** "NUMBER TARGET" of every open descriptor, without the one that lists them. */
std::string openDescriptors() {
  std::string list;
  DIR* directory = ::opendir("/proc/self/fd");
  if (directory == nullptr) {
    return list;
  }
  const std::string own = std::to_string(::dirfd(directory));
  while (const dirent* entry = ::readdir(directory)) {
    const std::string name = entry->d_name;
    if (name != own && name.front() != '.') {
      list += name + ' ' + linkTarget("/proc/self/fd/" + name) + '\0';
    }
  }
  ::closedir(directory);
  return list;
}

/** The lines of a file that begin so, with their ends. */
std::string linesOf(const char* path, std::string_view beginning) {
  std::string lines;
  std::FILE* file = std::fopen(path, "re");
  if (file == nullptr) {
    return lines;
  }
  std::array<char, 1024> line{};
  while (std::fgets(line.data(), static_cast<int>(line.size()), file) != nullptr) {
    if (std::string_view(line.data()).starts_with(beginning)) {
      lines += line.data();
    }
  }
  std::fclose(file);
  return lines;
}

int parentDeathSignal() {
  int signal = 0;
  ::prctl(PR_GET_PDEATHSIG, &signal);
  return signal;
}

std::string reportOn(char* const* arguments) {
  std::string record;
  addField(record, "descriptors", openDescriptors());
  addField(record, "signals", linesOf("/proc/self/status", "Sig"));
  addField(record, "stat", linesOf("/proc/self/stat", ""));
  addField(record, "pid", std::to_string(::getpid()));
  addField(record, "parent", std::to_string(::getppid()));
  addField(record, "arguments", listOf(arguments));
  addField(record, "environment", listOf(environ));
  addField(record, "death-signal", std::to_string(parentDeathSignal()));
  addField(record, "directory", linkTarget("/proc/self/cwd"));
  addField(record, "end", "");
  return record;
}

int connectToUnit() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, sim::worker_protocol::socketPath, sizeof address.sun_path - 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (fd < 0 || ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    std::perror("the stand-in worker does not reach its unit");
    std::_Exit(statusWithoutUnit);
  }
  return fd;
}

void sendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      std::_Exit(statusWithoutUnit);
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

/** The line that the unit sends; empty when the connection ends. */
std::string receiveCommand(int fd) {
  std::string command;
  char c = 0;
  while (::recv(fd, &c, 1, 0) == 1) {
    if (c == '\n') {
      return command;
    }
    command += c;
  }
  return {};
}

[[noreturn]] void dieBy(int signal) {
  const rlimit noCore{0, 0};
  ::setrlimit(RLIMIT_CORE, &noCore);
  std::signal(signal, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
  ::kill(::getpid(), signal);
  ::pause();  // a stopping signal leaves the process here when it is continued
  std::_Exit(statusWithoutUnit);
}

[[noreturn]] void obey(const std::string& command) {
  const std::size_t blank = command.find(' ');
  const int number = blank == std::string::npos
                         ? 0
                         : static_cast<int>(std::strtol(command.c_str() + blank + 1, nullptr, 10));
  if (command.starts_with("signal ")) {
    dieBy(number);
  }
  std::_Exit(number);
}

}  // namespace

int main(int /*argc*/, char** argv) {
  const std::string report = reportOn(argv);
  const int unit = connectToUnit();
  sendAll(unit, report);
  obey(receiveCommand(unit));
}
