#include "sim/namespaces.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>

#include "sim/descriptor.h"
#include "sim/error.h"
#include "sim/files.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

void bind(const fs::path& from, const fs::path& to) {
  if (::mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0) {
    throw systemError("mount(" + from.string() + " on " + to.string() + ")");
  }
}

void mountMemory(const fs::path& at, const char* options) {
  if (::mount("sim", at.c_str(), "tmpfs", MS_NOSUID, options) != 0) {
    throw systemError("mount(tmpfs on " + at.string() + ")");
  }
}

dev_t fileSystemOf(const fs::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    throw systemError("stat(" + path.string() + ")");
  }
  return status.st_dev;
}

/** Shows the directory or file `from` at `to`, which does not exist yet. */
void show(const fs::path& from, const fs::path& to) {
  if (fs::is_symlink(from)) {
    fs::copy_symlink(from, to);
    return;
  }
  if (fs::is_directory(from)) {
    fs::create_directory(to);
  } else {
    writeFile(to, "");
  }
  bind(from, to);
}

/** Shows every entry of `from` in `to`. What this process may not see itself is left out. */
void mirror(const fs::path& from, const fs::path& to, const std::set<std::string>& except = {}) {
  for (const fs::path& entry : entriesOf(from)) {
    if (except.contains(entry.filename())) {
      continue;
    }
    const fs::path shown = to / entry.filename();
    try {
      show(entry, shown);
    } catch (const std::runtime_error&) {
      std::error_code ignored;
      fs::remove(shown, ignored);
    }
  }
}

void becomeRootOfUserNamespace(uid_t user, gid_t group) {
  writeFile("/proc/self/setgroups", "deny");
  writeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
  writeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

void leaveHostNamespaces() {
  constexpr int wanted = CLONE_NEWNS | CLONE_NEWNET;
  if (::unshare(wanted) == 0) {
    return;
  }
  const uid_t user = ::geteuid();
  const gid_t group = ::getegid();
  if (errno != EPERM || ::unshare(wanted | CLONE_NEWUSER) != 0) {
    throw systemError("unshare(mounts, network)");
  }
  becomeRootOfUserNamespace(user, group);
}

void makeDevices(const fs::path& dev) {
  fs::create_directory(dev);
  for (const char* name : {"null", "zero", "full", "random", "urandom", "tty", "pts"}) {
    if (fs::exists(fs::path("/dev") / name)) {
      show(fs::path("/dev") / name, dev / name);
    }
  }
  fs::create_directory(dev / "shm");
  fs::permissions(dev / "shm", fs::perms::all | fs::perms::sticky_bit);
  fs::create_symlink("pts/ptmx", dev / "ptmx");
  fs::create_symlink("/proc/self/fd", dev / "fd");
  fs::create_symlink("/proc/self/fd/0", dev / "stdin");
  fs::create_symlink("/proc/self/fd/1", dev / "stdout");
  fs::create_symlink("/proc/self/fd/2", dev / "stderr");
}

/** /var with everything in it, but a /var/run of its own; where the host has a link there, it is kept. */
void makeVar(const fs::path& var) {
  fs::create_directory(var);
  const bool runIsLink = fs::is_symlink("/var/run");
  mirror("/var", var, runIsLink ? std::set<std::string>{} : std::set<std::string>{"run"});
  if (!runIsLink) {
    fs::create_directory(var / "run");
  }
}

void populate(const fs::path& root) {
  mirror("/", root, {"dev", "run", "sim", "sys", "var", "vel"});
  makeDevices(root / "dev");
  makeVar(root / "var");
  for (const char* name : {"run", "sim", "sys", "vel"}) {
    fs::create_directory(root / name);
  }
}

void makeRootOf(const fs::path& directory) {
  // The old root is stacked below the new one, on the same place, and can be dropped from there.
  if (::chdir(directory.c_str()) != 0 || ::syscall(SYS_pivot_root, ".", ".") != 0 ||
      ::umount2(".", MNT_DETACH) != 0 || ::chdir("/") != 0) {
    throw systemError("pivot_root(" + directory.string() + ")");
  }
}

}  // namespace

Namespaces::Namespaces() {
  const fs::path workingDirectory = fs::current_path();
  leaveHostNamespaces();
  if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    throw systemError("mount(private /)");
  }
  // /sys is the one directory that every host has and that is not wanted from it.
  mountMemory("/sys", "mode=0755,size=256m");
  populate("/sys");
  makeRootOf("/sys");
  privateFileSystems_.insert(fileSystemOf("/"));
  std::error_code ignored;
  fs::current_path(workingDirectory, ignored);
}

void Namespaces::makePrivate(const std::string& directory) {
  fs::path made = "/";
  for (const fs::path& name : fs::weakly_canonical(directory).relative_path()) {
    made /= name;
    if (!fs::exists(made)) {
      fs::create_directory(made);
    } else if (!privateFileSystems_.contains(fileSystemOf(made))) {
      replaceByMirror(made);
    }
  }
}

void Namespaces::replaceByMirror(const std::string& directory) {
  // The descriptor still leads to the host's directory after the new one has been mounted on it.
  const Descriptor host(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  const fs::perms mode = fs::status(directory).permissions();
  mountMemory(directory, "size=64m");
  fs::permissions(directory, mode);
  privateFileSystems_.insert(fileSystemOf(directory));
  mirror("/proc/self/fd/" + std::to_string(host.get()) + "/", directory);
}

}  // namespace sim
