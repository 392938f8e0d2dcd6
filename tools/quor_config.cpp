#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "config/edit.h"
#include "config/load.h"
#include "config/output.h"
#include "config/query.h"
#include "config/save.h"
#include "tools/config_check.h"
#include "tools/config_difference.h"

namespace {

enum ExitStatus : int { done = 0, notFoundOrDiffers = 1, usageOrFailure = 2 };

constexpr const char* usage =
    "Usage: quor_config [--file PATH] COMMAND\n"
    "Reads and changes a configuration file, /vel/quor.conf unless --file is given.\n"
    "\n"
    "  get KEY           prints the value of section:key\n"
    "  set KEY VALUE     sets it\n"
    "  unset KEY         removes it\n"
    "  add-section NAME  adds an empty section\n"
    "  merge OTHER       sets everything that the file OTHER sets\n"
    "  diff OTHER        prints what is different in the file OTHER\n"
    "  print             prints the file as INI\n"
    "  json              prints it as JSON\n"
    "  sed               prints a sed script that replaces $section:key$ by its value\n"
    "  check             prints what the USB control daemon would not read as meant\n"
    "\n"
    "Exit status: 0 done, 1 not found or different, 2 wrong usage or failure.\n"
    "The daemon takes a changed policy over at the next device after SIGHUP.\n";

struct Free {
  void operator()(ConfigDictionary* d) const { configFree(d); }
};
using Configuration = std::unique_ptr<ConfigDictionary, Free>;
using Arguments = std::span<char* const>;

int fail(const char* what, const char* object) {
  std::fprintf(stderr, "quor_config: %s: %s\n", what, object);
  return usageOrFailure;
}

// The store tells its failures on standard output, which is for results here. While this lives, they go where
// the other errors go.
class StoreTellsOnStandardError {
 public:
  StoreTellsOnStandardError() : standardOutput_(dup(STDOUT_FILENO)) { dup2(STDERR_FILENO, STDOUT_FILENO); }
  StoreTellsOnStandardError(const StoreTellsOnStandardError&) = delete;
  StoreTellsOnStandardError& operator=(const StoreTellsOnStandardError&) = delete;
  ~StoreTellsOnStandardError() {
    std::fflush(stdout);
    close(STDOUT_FILENO);
    if (standardOutput_ != -1) {
      dup2(standardOutput_, STDOUT_FILENO);
      close(standardOutput_);
    }
  }

 private:
  int standardOutput_;
};

Configuration loadFromStore(const char* path) {
  const StoreTellsOnStandardError redirected;
  return Configuration(configLoad(path));
}

int saveToStore(const Configuration& configuration, const char* path) {
  const StoreTellsOnStandardError redirected;
  return configSave(configuration.get(), path);
}

Configuration load(const char* path) {
  if (access(path, R_OK) != 0) {
    fail(std::strerror(errno), path);
    return nullptr;
  }
  Configuration loaded = loadFromStore(path);
  if (loaded == nullptr) {
    fail("not a configuration file", path);
  }
  return loaded;
}

// What is about to be changed may be a new file.
Configuration loadOrBegin(const char* path) {
  return access(path, F_OK) != 0 && errno == ENOENT ? Configuration(dictionary_new(0)) : load(path);
}

// The INI format has no way to write some values and names; a file must not lose what it was given.
int save(const Configuration& configuration, const char* path) {
  if (const char* lost = firstLossInWriting(configuration.get())) {
    return fail("cannot be written in an INI file", lost);
  }
  return saveToStore(configuration, path) == 0 ? static_cast<int>(done) : fail("cannot be saved", path);
}

int get(const char* path, Arguments arguments) {
  const Configuration configuration = load(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  const char* value = configGetString(configuration.get(), nullptr, "%s", arguments[0]);
  if (value == nullptr) {
    return notFoundOrDiffers;
  }
  std::puts(value);
  return done;
}

int set(const char* path, Arguments arguments) {
  const Configuration configuration = loadOrBegin(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  if (configSet(configuration.get(), arguments[0], arguments[1]) != 0) {
    return fail("not a section:key", arguments[0]);
  }
  return save(configuration, path);
}

int unset(const char* path, Arguments arguments) {
  const Configuration configuration = load(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  if (configHasKey(configuration.get(), "%s", arguments[0]) == 0) {
    return notFoundOrDiffers;
  }
  configUnset(configuration.get(), arguments[0]);
  return save(configuration, path);
}

int addSection(const char* path, Arguments arguments) {
  const Configuration configuration = loadOrBegin(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  if (configAddSection(configuration.get(), arguments[0]) != 0) {
    return fail("not a section's name", arguments[0]);
  }
  return save(configuration, path);
}

int merge(const char* path, Arguments arguments) {
  const Configuration configuration = loadOrBegin(path);
  const Configuration other = load(arguments[0]);
  if (configuration == nullptr || other == nullptr) {
    return usageOrFailure;
  }
  configMerge(configuration.get(), other.get());
  return save(configuration, path);
}

int diff(const char* path, Arguments arguments) {
  const Configuration configuration = load(path);
  const Configuration other = load(arguments[0]);
  if (configuration == nullptr || other == nullptr) {
    return usageOrFailure;
  }
  configDiff(configuration.get(), other.get());
  const bool same = firstDifference(configuration.get(), other.get()) == nullptr &&
                    firstDifference(other.get(), configuration.get()) == nullptr;
  return same ? done : notFoundOrDiffers;
}

int output(const char* path, int (*print)(const ConfigDictionary*)) {
  const Configuration configuration = load(path);
  return configuration == nullptr || print(configuration.get()) != 0 ? usageOrFailure : done;
}

int print(const char* path, Arguments /*none*/) {
  return output(path, configPrint);
}
int json(const char* path, Arguments /*none*/) {
  return output(path, configPrintJson);
}
int sed(const char* path, Arguments /*none*/) {
  return output(path, configPrintSed);
}

int check(const char* path, Arguments /*none*/) {
  if (access(path, F_OK) != 0 && errno == ENOENT) {
    std::printf("missing: %s\n", path);
    return notFoundOrDiffers;
  }
  const Configuration configuration = load(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  const auto faults = checkConfiguration(configuration.get());
  for (const std::string& fault : faults) {
    std::puts(fault.c_str());
  }
  return faults.empty() ? done : notFoundOrDiffers;
}

struct Command {
  std::string_view name;
  std::size_t arguments;
  int (*run)(const char* path, Arguments arguments);
};

constexpr std::array<Command, 10> commands{{
    {"get", 1, get},
    {"set", 2, set},
    {"unset", 1, unset},
    {"add-section", 1, addSection},
    {"merge", 1, merge},
    {"diff", 1, diff},
    {"print", 0, print},
    {"json", 0, json},
    {"sed", 0, sed},
    {"check", 0, check},
}};

int refuse() {
  std::fputs(usage, stderr);
  return usageOrFailure;
}

int run(Arguments arguments) {
  const char* path = "/vel/quor.conf";
  if (arguments.size() >= 2 && std::string_view(arguments[0]) == "--file") {
    path = arguments[1];
    arguments = arguments.subspan(2);
  }
  if (arguments.empty()) {
    return refuse();
  }
  if (std::string_view(arguments[0]) == "--help") {
    std::fputs(usage, stdout);
    return done;
  }
  const auto* command = std::ranges::find(commands, std::string_view(arguments[0]), &Command::name);
  if (command == commands.end() || arguments.size() - 1 != command->arguments) {
    return refuse();
  }
  return command->run(path, arguments.subspan(1));
}

}  // namespace

int main(int argc, char** argv) {
  const int status = run(Arguments(argv, static_cast<std::size_t>(argc)).subspan(argc > 0 ? 1 : 0));
  const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return written ? status : fail(std::strerror(errno), "standard output");
}
