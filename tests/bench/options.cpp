#include "bench/options.h"

#include <cstddef>
#include <filesystem>

namespace bench {

const char* const usage =
    "Usage: usb_rx_bench [OPTION...]\n"
    "Measures the daemon beside programs that do less, and prints one table.\n"
    "  --daemon=[NAME=]FILE  the daemon's program, and its column; may be given several times\n"
    "  --only=TEXT           only figures whose name has this text; may be given several times\n"
    "  --quick               fewer rounds\n"
    "  --json [FILE]         every sample, to FILE beside the table, or instead of it\n"
    "  --different-kinds     compare even programs that were built differently\n";

namespace {

constexpr const char* usualName = "daemon";

bool isOption(const std::string& argument) {
  return argument.starts_with("--");
}

NamedDaemon namedDaemon(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::string name = equals == std::string::npos ? usualName : text.substr(0, equals);
  const std::string file = equals == std::string::npos ? text : text.substr(equals + 1);
  return {name, std::filesystem::absolute(file)};
}

/** Where `argument` is this option, its value. */
bool takeValue(const std::string& argument, const std::string& option, std::string& value) {
  if (!argument.starts_with(option)) {
    return false;
  }
  value = argument.substr(option.size());
  return true;
}

void parseOne(Options& options, const std::string& argument) {
  std::string value;
  if (takeValue(argument, "--daemon=", value)) {
    options.daemons.push_back(namedDaemon(value));
  } else if (takeValue(argument, "--only=", value)) {
    options.wanted.push_back(value);
  } else if (argument == "--quick") {
    options.pace = Pace::quick;
  } else if (argument == "--different-kinds") {
    options.differentKinds = true;
  } else if (argument == "--json") {
    options.printsJson = true;
  } else {
    throw UsageError("unknown argument '" + argument + "'");
  }
}

}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    parseOne(options, arguments[i]);
    if (arguments[i] == "--json" && i + 1 < arguments.size() && !isOption(arguments[i + 1])) {
      options.jsonFile = arguments[++i];
    }
  }
  options.printsTable = !options.printsJson || !options.jsonFile.empty();
  if (options.daemons.empty()) {
    options.daemons.emplace_back(usualName, BENCH_DAEMON);
  }
  return options;
}

}  // namespace bench
