#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "config/dictionary.h"
#include "config/edit.h"
#include "config/output.h"
#include "config/query.h"
#include "ctrl/configuration_keys.h"
#include "tools/config_check.h"
#include "tools/config_difference.h"
#include "tools/config_file.h"
#include "tools/version.h"

namespace {

enum ExitStatus : int { done = 0, notFoundOrDiffers = 1, usageOrFailure = 2 };

// The store cuts the keys of its queries to so many characters.
constexpr std::size_t longestKey = 255;

// A format: it names `configurationPath`.
constexpr const char* usage =
    "Usage: quor_config [--file PATH] COMMAND\n"
    "       quor_config --help | --version\n"
    "Reads and changes a configuration file, %s unless --file is given.\n"
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
    "  check [--all]     prints what the USB control daemon would not read as meant\n"
    "\n"
    "check judges the section usb and the daemon's key of apps: the others are for other programs. With\n"
    "--all it judges them, too. A configured program is looked for in the PATH that check itself has: one\n"
    "that is not there, or cannot be executed, ends the daemon.\n"
    "\n"
    "Keys have at most 255 characters, paths 254. What is changed is written anew as a whole: comments\n"
    "are lost, and a symbolic link is replaced by a file. unset removes a section that has no settings.\n"
    "\n"
    "Exit status: 0 done, 1 not found or different, 2 wrong usage or failure.\n"
    "The daemon takes a changed policy over at the next device after SIGHUP.\n";

using Arguments = std::span<char* const>;

int fail(const char* what, const char* object) {
  reportFault(what, object);
  return usageOrFailure;
}

int save(const Configuration& configuration, const char* path) {
  return saveConfiguration(configuration, path) ? done : usageOrFailure;
}

int get(const char* path, Arguments arguments) {
  const Configuration configuration = loadConfiguration(path);
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
  const Configuration configuration = loadOrBeginConfiguration(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  if (configSet(configuration.get(), arguments[0], arguments[1]) != 0) {
    return fail("not a section:key", arguments[0]);
  }
  return save(configuration, path);
}

int unset(const char* path, Arguments arguments) {
  const Configuration configuration = loadConfiguration(path);
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
  const Configuration configuration = loadOrBeginConfiguration(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  if (configAddSection(configuration.get(), arguments[0]) != 0) {
    return fail("not a section's name", arguments[0]);
  }
  return save(configuration, path);
}

int merge(const char* path, Arguments arguments) {
  const Configuration configuration = loadOrBeginConfiguration(path);
  const Configuration other = loadConfiguration(arguments[0]);
  if (configuration == nullptr || other == nullptr) {
    return usageOrFailure;
  }
  configMerge(configuration.get(), other.get());
  return save(configuration, path);
}

int diff(const char* path, Arguments arguments) {
  const Configuration configuration = loadConfiguration(path);
  const Configuration other = loadConfiguration(arguments[0]);
  if (configuration == nullptr || other == nullptr) {
    return usageOrFailure;
  }
  configDiff(configuration.get(), other.get());
  const bool same = firstDifference(configuration.get(), other.get()) == nullptr &&
                    firstDifference(other.get(), configuration.get()) == nullptr;
  return same ? done : notFoundOrDiffers;
}

int output(const char* path, int (*print)(const ConfigDictionary*)) {
  const Configuration configuration = loadConfiguration(path);
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

int refuse() {
  std::fprintf(stderr, usage, configurationPath);
  return usageOrFailure;
}

int check(const char* path, Arguments arguments) {
  if (!arguments.empty() && std::string_view(arguments[0]) != "--all") {
    return refuse();
  }
  if (access(path, F_OK) != 0 && errno == ENOENT) {
    std::printf("missing: %s\n", path);
    return notFoundOrDiffers;
  }
  const Configuration configuration = loadConfiguration(path);
  if (configuration == nullptr) {
    return usageOrFailure;
  }
  const auto faults =
      checkConfiguration(configuration.get(), arguments.empty() ? CheckedKeys::daemons : CheckedKeys::all);
  for (const std::string& fault : faults) {
    std::puts(fault.c_str());
  }
  return faults.empty() ? done : notFoundOrDiffers;
}

struct Command {
  std::string_view name;
  std::size_t arguments;
  std::size_t moreArguments;  // that it may have besides
  bool beginsWithKey;         // its arguments do
  int (*run)(const char* path, Arguments arguments);

  [[nodiscard]] constexpr bool takes(std::size_t count) const {
    return count >= arguments && count <= arguments + moreArguments;
  }
};

constexpr std::array<Command, 10> commands{{
    {"get", 1, 0, true, get},
    {"set", 2, 0, true, set},
    {"unset", 1, 0, true, unset},
    {"add-section", 1, 0, false, addSection},
    {"merge", 1, 0, false, merge},
    {"diff", 1, 0, false, diff},
    {"print", 0, 0, false, print},
    {"json", 0, 0, false, json},
    {"sed", 0, 0, false, sed},
    {"check", 0, 1, false, check},
}};

int run(Arguments arguments) {
  const char* path = configurationPath;
  if (arguments.size() >= 2 && std::string_view(arguments[0]) == "--file") {
    path = arguments[1];
    arguments = arguments.subspan(2);
  }
  if (arguments.empty()) {
    return refuse();
  }
  if (std::string_view(arguments[0]) == "--help") {
    std::printf(usage, configurationPath);
    return done;
  }
  if (std::string_view(arguments[0]) == "--version") {
    std::printf("quor_config %s\n", programVersion);
    return done;
  }
  const auto* command = std::ranges::find(commands, std::string_view(arguments[0]), &Command::name);
  if (command == commands.end() || !command->takes(arguments.size() - 1)) {
    return refuse();
  }
  if (command->beginsWithKey && std::strlen(arguments[1]) > longestKey) {
    return fail("a key of more than 255 characters", arguments[1]);
  }
  return command->run(path, arguments.subspan(1));
}

}  // namespace

int main(int argc, char** argv) {
  const int status = run(Arguments(argv, static_cast<std::size_t>(argc)).subspan(argc > 0 ? 1 : 0));
  const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return written ? status : fail(std::strerror(errno), "standard output");
}
