#include "tools/explain/circumstances.h"

#include <stdio_ext.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "ctrl/command_line.h"
#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/settings.h"
#include "tools/explain/error.h"
#include "tools/word_list.h"

namespace explain {

namespace {

bool isThere(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

// The store prints on standard output which file it cannot open; that is no part of the answer, so it stays in the
// buffer until it is thrown away.
void load(const std::string& path) {
  static std::string keptPath;  // the configuration keeps a pointer
  keptPath = path;
  useConfiguration(keptPath.c_str());
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  static_cast<void>(configDictionary());
  __fpurge(stdout);
}

ConfigurationState stateOf(const std::string& path) {
  if (configDictionary() != nullptr) {
    return ConfigurationState::loaded;
  }
  return isThere(path) ? ConfigurationState::unloadable : ConfigurationState::missing;
}

template <class Words>
void requireWords(const char* key, const Words& words) {
  const char* list = getConfigString(key);
  const auto unknown = list == nullptr ? std::nullopt : findUnknownWord(list, words);
  if (unknown) {
    throw Error("the daemon does not start with this configuration: " + std::string(key) + " = " + list +
                ": \"" + std::string(*unknown) + "\" is not one of its words");
  }
}

// The daemon's own debug messages would stand between the lines of the answer.
void apply(const Options& options) {
  applyConfiguration(options);
  settings.debugCtrl = false;
}

}  // namespace

Circumstances readCircumstances(const Request& request) {
  load(request.configuration);
  Options options;
  options.classGiven = request.classList.has_value();
  requireWords(configuration_key::debug, debugWords);
  if (!options.classGiven) {
    requireWords(configuration_key::classes, classWords);
  }
  apply(options);

  Circumstances circumstances;
  circumstances.configuration = request.configuration;
  circumstances.configurationState = stateOf(request.configuration);
  circumstances.policy = readAdmissionPolicy();
  circumstances.classes = parseClassList(request.classList.value_or(""));
  circumstances.linkSpeed = request.linkSpeed;
  circumstances.isTransmitterKnown = request.transmitter.has_value();
  const Transmitter transmitter = request.transmitter.value_or(Transmitter());
  circumstances.link = {
      .interface = request.interface, .hostname = transmitter.hostname, .port = transmitter.port};
  return circumstances;
}

Setting readSetting(const char* key) {
  const char* text = getConfigString(key);
  if (text == nullptr) {
    return {.key = key, .text = {}, .isReadable = true};
  }
  // A text that says neither leaves it to the default.
  return {.key = key, .text = text, .isReadable = getConfigBool(key, true) == getConfigBool(key, false)};
}

}  // namespace explain
