// The first process of an emulated machine: makes a unit's folders, loads the drivers, runs one program and
// switches the machine off. The kernel's command line names the program and its arguments: PROGRAM="NAME ARGUMENT...".
// The last line says how the program ended; the scripts that boot the machine look for it.

#include <fcntl.h>
#include <sys/klog.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "kernel/init/modules.h"

namespace {

[[noreturn]] void fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void mountFilesystem(const char* type, const char* folder) {
  std::filesystem::create_directories(folder);
  if (::mount(type, folder, type, 0, nullptr) != 0) {
    fail(std::string("mounting ") + folder);
  }
}

void openConsole() {
  const int console = ::open("/dev/console", O_RDWR);
  if (console < 0) {
    fail("opening the console");
  }
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    ::dup2(console, number);
  }
}

void makeSystem() {
  mountFilesystem("devtmpfs", "/dev");
  openConsole();
  mountFilesystem("proc", "/proc");
  mountFilesystem("sysfs", "/sys");
  for (const char* folder : {"/tmp", "/sim", "/vel", "/var/run"}) {
    std::filesystem::create_directories(folder);
  }
}

void setUnitsEnvironment() {
  ::setenv("SIM_DAEMON", "/usr/sbin/usb_rx_ctrl", 1);
  ::setenv("SIM_WORKER", "/bin/usb_rx_worker_standin", 1);
  ::setenv("SIM_TIME_FACTOR", "4", 1);  // an emulated machine is slow
}

/** The words of the command line's setting PROGRAM. */
std::vector<std::string> programWithArguments() {
  const char* setting = std::getenv("PROGRAM");
  std::istringstream text(setting == nullptr ? "" : setting);
  std::vector<std::string> words;
  for (std::string word; text >> word;) {
    words.push_back(word);
  }
  if (words.empty()) {
    throw std::runtime_error("the kernel's command line names no program");
  }
  return words;
}

[[noreturn]] void becomeProgram(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  ::execv(arguments.front(), arguments.data());
  ::_exit(127);
}

/** The program's exit status, or 128 and the number of the signal that has ended it. */
int runProgram() {
  const std::vector<std::string> words = programWithArguments();
  const pid_t child = ::fork();
  if (child == 0) {
    becomeProgram(words);
  }
  int status = 0;
  // Processes that have lost their parents end here, too.
  for (pid_t ended = ::wait(&status); ended != child; ended = ::wait(&status)) {
    if (ended < 0) {
      fail("waiting for the program");
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/** The console shows few of them, and something is wrong. */
void printKernelMessages() {
  constexpr int readAll = 3;
  std::vector<char> messages(1 << 20);
  const int length = ::klogctl(readAll, messages.data(), static_cast<int>(messages.size()));
  std::printf("The kernel's messages:\n%.*s\n", length, messages.data());
}

void live() {
  makeSystem();
  setUnitsEnvironment();
  loadModules("/modules.list");
  const int status = runProgram();
  if (status != EXIT_SUCCESS) {
    printKernelMessages();
  }
  std::printf("guest result: %d\n", status);
}

[[noreturn]] void switchOff() {
  std::fflush(stdout);
  ::sync();
  ::tcdrain(STDOUT_FILENO);
  ::reboot(RB_POWER_OFF);
  while (true) {
    ::pause();
  }
}

}  // namespace

int main() {
  try {
    live();
  } catch (const std::exception& error) {
    std::printf("the machine does not come up: %s\n", error.what());
  }
  switchOff();
}
