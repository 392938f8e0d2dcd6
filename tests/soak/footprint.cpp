#include "soak/footprint.h"

#include <sys/stat.h>

#include <filesystem>
#include <sstream>

#include "sim/files.h"
#include "soak/broken.h"

namespace soak {

namespace {

namespace fs = std::filesystem;

constexpr int checksToWarmUp = 100;
constexpr long toleratedKilobytes = 256;  // fragments of the heap; a real leak goes on

std::string statusOf(pid_t process, const std::string& field) {
  std::istringstream status(sim::readFile("/proc/" + std::to_string(process) + "/status"));
  for (std::string name, value; status >> name && std::getline(status, value);) {
    if (name == field + ":") {
      return value;
    }
  }
  throw Broken("process " + std::to_string(process) + " shows no " + field);
}

}  // namespace

void Footprint::check(pid_t daemon, const std::string& socketPath) {
  kilobytes_ = std::stol(statusOf(daemon, "VmRSS"));
  checkMemory();
  const std::string mask = statusOf(daemon, "Umask");
  mask_ = mask_.empty() ? mask : mask_;
  if (mask != mask_) {
    throw Broken("the daemon's file mode mask has become" + mask);
  }
  const fs::path directory = fs::read_symlink("/proc/" + std::to_string(daemon) + "/cwd");
  if (directory != "/") {
    throw Broken("the daemon's working directory has become " + directory.string());
  }
  struct stat socket {};
  if (::stat(socketPath.c_str(), &socket) != 0 || !S_ISSOCK(socket.st_mode)) {
    throw Broken("the control socket has gone");
  }
  if ((socket.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw Broken("others than its owner may use the control socket");
  }
}

void Footprint::checkMemory() {
  if (++checks_ <= checksToWarmUp) {
    warmKilobytes_ = kilobytes_;
  } else if (kilobytes_ > warmKilobytes_ + toleratedKilobytes) {
    throw Broken("the daemon's memory has grown from " + std::to_string(warmKilobytes_) + " to " +
                 std::to_string(kilobytes_) + " kB");
  }
}

}  // namespace soak
