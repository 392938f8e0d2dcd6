#include "tools/config_check.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "config/entries.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/device_classes.h"
#include "ctrl/settings.h"
#include "tools/program_search.h"
#include "tools/word_list.h"

namespace {

bool isFlag(std::string_view value) {
  return !value.empty() && std::string_view("1tTyY0fFnN").find(value.front()) != std::string_view::npos;
}

// The daemon doubles it in 32 bits.
constexpr std::uint32_t mostSeconds = std::numeric_limits<std::int32_t>::max() / 2;

bool isSeconds(std::string_view value) {
  std::uint32_t seconds = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
  return error == std::errc() && end == value.data() + value.size() && seconds <= mostSeconds;
}

bool isNoDenial(std::string_view value) {
  return value.empty() || std::string_view("0fFnN").find(value.front()) == std::string_view::npos;
}

// Whether the daemon reads `value` as its writer meant it.
bool takes(KeyReading reading, std::string_view value) {
  switch (reading) {
    case KeyReading::debugList:
      return !findUnknownWord(value, debugWords);
    case KeyReading::classList:
      return !findUnknownWord(value, classWords);
    case KeyReading::presence:
      return isNoDenial(value);
    case KeyReading::seconds:
      return isSeconds(value);
    case KeyReading::flag:
      return isFlag(value);
    case KeyReading::program:
      return !value.empty();
  }
  return false;
}

template <class Words>
std::string listOf(const Words& words) {
  std::string text = "a list of ";
  for (const auto& known : words) {
    text += known.word;
    text += ", ";
  }
  return text.substr(0, text.size() - 2);
}

// What a key takes, in words.
std::string meaningOf(KeyReading reading) {
  switch (reading) {
    case KeyReading::debugList:
      return listOf(debugWords);
    case KeyReading::classList:
      return listOf(classWords);
    case KeyReading::presence:
      return "looked at (it switches on whatever its value)";
    case KeyReading::seconds:
      return "a whole number of seconds up to " + std::to_string(mostSeconds);
    case KeyReading::flag:
      return "yes or no";
    case KeyReading::program:
      return "a program";
  }
  return {};
}

// Why the daemon would end when it starts this worker. That its own worker is there is not said by the file: only a
// program that somebody has configured is looked for.
std::optional<std::string> findProgramFault(std::string_view program) {
  switch (searchProgram(std::string(program))) {
    case ProgramSearch::missing:
      return "a program that is not there (the daemon ends when it starts it)";
    case ProgramSearch::notExecutable:
      return "a program that cannot be executed (the daemon ends when it starts it)";
    case ProgramSearch::found:
      return std::nullopt;
  }
  return std::nullopt;
}

std::optional<std::string> findValueFault(KeyReading reading, std::string_view value) {
  if (!takes(reading, value)) {
    return "not " + meaningOf(reading);
  }
  return reading == KeyReading::program ? findProgramFault(value) : std::nullopt;
}

bool isInDaemonsSection(std::string_view key) {
  return key.starts_with("usb:");
}

std::optional<std::string> findFault(std::string_view key, std::string_view value, CheckedKeys keys) {
  const auto* known =
      std::ranges::find_if(configurationKeys, [key](const ConfigurationKey& one) { return one.name == key; });
  if (known != configurationKeys.end()) {
    return findValueFault(known->reading, value);
  }
  const bool isJudged = keys == CheckedKeys::all || isInDaemonsSection(key);
  return isJudged ? std::optional<std::string>("unknown key") : std::nullopt;
}

}  // namespace

std::vector<std::string> checkConfiguration(const ConfigDictionary* d, CheckedKeys keys) {
  std::vector<std::string> faults;
  forEachEntry(d, [&faults, keys](const char* key, const char* value) {
    if (value == nullptr) {
      return;  // a section
    }
    if (const auto fault = findFault(key, value, keys)) {
      faults.push_back(*fault + ": " + key + " = " + value);
    }
  });
  return faults;
}
