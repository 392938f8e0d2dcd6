// Configuration files: loading, all queries, all outputs, saving and loading again.
//
// Input: the file.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "config/edit.h"
#include "config/entries.h"
#include "config/load.h"
#include "config/output.h"
#include "config/query.h"
#include "config/save.h"
#include "ctrl/configuration_keys.h"
#include "fuzz/captured_output.h"
#include "fuzz/check.h"
#include "sim/files.h"
#include "sim/namespaces.h"

namespace {

using fuzz::check;

struct FreeDictionary {
  void operator()(ConfigDictionary* d) const { configFree(d); }
};
using Dictionary = std::unique_ptr<ConfigDictionary, FreeDictionary>;

// A section is a key without a text; its name may have a ":".
using Entries = std::map<std::string, std::optional<std::string>>;

constexpr const char* savedPath = "/vel/saved.conf";
constexpr std::size_t longestKey = 255;

bool hasColon(const std::string& key) {
  return key.find(':') != std::string::npos;
}

std::optional<std::string> optionalText(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

Entries entriesOf(const ConfigDictionary* d) {
  Entries entries;
  forEachEntry(d, [&entries](const char* key, const char* value) {
    check(value == nullptr || hasColon(key), "a setting has a section");
    entries[key] = optionalText(value);
  });
  return entries;
}

// iniparser looks for the first 1024 characters of a key, and keeps longer ones.
bool areFindable(const Entries& entries) {
  return std::all_of(entries.begin(), entries.end(),
                     [](const auto& entry) { return entry.first.size() <= longestKey; });
}

int flagOf(const std::optional<std::string>& text, int otherwise) {
  if (!text || text->empty()) {
    return otherwise;
  }
  const std::string yes = "1tTyY";
  const std::string no = "0fFnN";
  if (yes.find(text->front()) != std::string::npos) {
    return 1;
  }
  return no.find(text->front()) != std::string::npos ? 0 : otherwise;
}

void checkQueries(const ConfigDictionary* d, const std::string& key, const std::optional<std::string>& text) {
  if (key.size() > longestKey) {
    return;
  }
  constexpr int otherwise = 7;
  const char* name = key.c_str();
  check(configHasKey(d, "%s", name) == 1, "every entry is there");
  check(optionalText(configGetString(d, "otherwise", "%s", name)) == text, "a text is the one that was read");
  check(configGetBool(d, otherwise, "%s", name) == flagOf(text, otherwise), "a flag is its first character");
  const int number = configGetInt(d, otherwise, "%s", name);
  const double real = configGetDouble(d, otherwise, "%s", name);
  check(text || (number == otherwise && real == otherwise), "a section is no number");
}

void checkMissingKeys(const ConfigDictionary* d, const Entries& entries) {
  for (const ConfigurationKey& key : configurationKeys) {
    if (!entries.contains(key.name)) {
      check(configHasKey(d, "%s", key.name) == 0, "a missing key is not there");
      check(configGetString(d, nullptr, "%s", key.name) == nullptr, "a missing key has no text");
    }
  }
}

std::string outputOf(const std::function<int()>& print) {
  const fuzz::CapturedOutput output;
  check(print() == 0, "a dictionary is printed");
  return output.text();
}

std::string sedScriptOf(const ConfigDictionary* d) {
  std::string script;
  forEachEntry(d, [&script](const std::string& key, const char* value) {
    if (hasColon(key)) {
      script += "s!\\$" + key + "\\$!" + optionalText(value).value_or("") + "!g\n";
    }
  });
  return script + "\n";
}

std::string jsonOf(const ConfigDictionary* d) {
  std::string json = "{\n";
  std::string beforeSection;
  std::string beforeSetting = ",\n";
  forEachEntry(d, [&](const std::string& key, const char* value) {
    if (!hasColon(key)) {
      json += beforeSection + "\t\"" + key + "\": {\n";
      beforeSection = "\n\t},\n";
      beforeSetting = "";
    } else {
      json += beforeSetting + "\t\t\"" + key.substr(key.find(':') + 1) + "\":\"" +
              optionalText(value).value_or("") + "\"";
      beforeSetting = ",\n";
    }
  });
  return json + "\n\t}\n}\n";
}

void checkOutputs(const ConfigDictionary* d, const Entries& entries) {
  outputOf([d] { return configPrint(d); });
  check(outputOf([d] { return configPrintSed(d); }) == sedScriptOf(d), "the sed script has every setting");
  check(outputOf([d] { return configPrintJson(d); }) == jsonOf(d), "the JSON text has every setting");
  check(!areFindable(entries) || outputOf([d] { return configDiff(d, d); }).empty(),
        "a dictionary does not differ from itself");
  const Dictionary none(dictionary_new(0));
  const std::string added = outputOf([&] { return configDiff(none.get(), d); });
  const std::string missing = outputOf([&] { return configDiff(d, none.get()); });
  check(added.size() == missing.size() && added.empty() == missing.empty(),
        "what one difference adds, the opposite one takes away");
}

bool hasOnly(const std::string& text, const std::string& more) {
  return text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789" + more) == std::string::npos;
}

// What surely can be written as INI: short names and texts without anything that means something there.
bool isPlainlyWritable(const std::string& key, const std::optional<std::string>& text,
                       const Entries& entries) {
  constexpr std::size_t longest = 100;
  if (key.size() > longest || !text) {
    return key.size() <= longest && !key.empty() && hasOnly(key, "_");
  }
  const std::string section = key.substr(0, key.find(':'));
  const std::string name = key.substr(section.size() + 1);
  return !name.empty() && hasOnly(section + name, "_") && text->size() <= longest &&
         hasOnly(*text, "_/.,+ABCXYZ") && entries.contains(section);
}

bool arePlainlyWritable(const Entries& entries) {
  return std::all_of(entries.begin(), entries.end(), [&entries](const auto& entry) {
    return isPlainlyWritable(entry.first, entry.second, entries);
  });
}

// A copy with one other text differs in that text only.
void checkOtherText(const ConfigDictionary* d, const Entries& entries) {
  const auto setting = std::find_if(entries.begin(), entries.end(),
                                    [](const auto& entry) { return entry.second.has_value(); });
  if (setting == entries.end() || !areFindable(entries)) {
    return;
  }
  const Dictionary other(dictionary_new(0));
  configMerge(other.get(), d);
  const std::string text = *setting->second + "!";
  check(configSet(other.get(), setting->first.c_str(), text.c_str()) == 0, "a setting is changed");
  const std::string difference = "c " + setting->first + " [" + *setting->second + ":" + text + "]\n";
  check(outputOf([&] { return configDiff(d, other.get()); }) == difference, "one change is one difference");
}

void checkSaving(const ConfigDictionary* d, const Entries& entries) {
  check(configSave(d, savedPath) == 0, "a dictionary is saved");
  const Dictionary again(configLoad(savedPath));
  if (arePlainlyWritable(entries)) {
    check(again != nullptr && entriesOf(again.get()) == entries, "what was saved is read again");
  }
}

void checkChanges(ConfigDictionary* d, const Entries& entries) {
  const auto sections =
      std::count_if(entries.begin(), entries.end(), [](const auto& entry) { return !hasColon(entry.first); });
  check(configSectionCount(d) == sections, "every section is counted");
  const Dictionary merged(dictionary_new(0));
  check(configMerge(merged.get(), d) == 0, "dictionaries can be merged");
  for (const auto& [key, text] : entries) {
    if (key.size() <= longestKey) {
      check(!text || optionalText(configGetString(merged.get(), nullptr, "%s", key.c_str())) == text,
            "a merged dictionary has every setting");
      check(configUnset(d, key.c_str()) == 0 && configHasKey(d, "%s", key.c_str()) == 0,
            "an entry that is removed is gone");
    }
  }
}

// What takes no input: each is refused, and nothing happens.
void checkRefusals() {
  const Dictionary empty(dictionary_new(0));
  const ConfigDictionary* none = nullptr;
  for (const auto print : {configPrint, configPrintJson, configPrintSed}) {
    check(print(none) == -1, "what is no dictionary is not printed");
  }
  check(configDiff(none, empty.get()) == -1 && configDiff(empty.get(), none) == -1,
        "what is no dictionary is not compared");
  check(configSet(nullptr, "usb:debug", "ctrl") == -1 && configSet(empty.get(), "usb", "ctrl") == -1 &&
            configAddSection(nullptr, "usb") == -1 && configAddSection(empty.get(), "usb:debug") == -1 &&
            configUnset(nullptr, "usb") == -1 && configMerge(nullptr, empty.get()) == -1 &&
            configSet(empty.get(), "usb:debug", nullptr) == 0 && configSectionCount(none) == -1 &&
            configFree(nullptr) == -1,
        "what cannot be changed is refused");
  check(configSave(none, savedPath) == -1 && configSave(empty.get(), "/vel/nowhere/file") == -1 &&
            configSave(empty.get(), "/vel") == -1,
        "what cannot be saved is refused");
  const std::string longPath = "/vel/" + std::string(250, 'a');
  for (const char* path : {"/vel/nowhere", "/vel", longPath.c_str()}) {
    check(Dictionary(configLoad(path)) == nullptr, "what is no file is not loaded");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static sim::Namespaces world;
  checkRefusals();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int descriptorBefore = fuzz::lowestFreeDescriptor();
  sim::writeFile(configurationPath, std::string(reinterpret_cast<const char*>(data), size));
  const Dictionary loaded(configLoad(configurationPath));
  if (loaded != nullptr) {
    const Entries entries = entriesOf(loaded.get());
    for (const auto& [key, text] : entries) {
      checkQueries(loaded.get(), key, text);
    }
    checkMissingKeys(loaded.get(), entries);
    checkOutputs(loaded.get(), entries);
    checkOtherText(loaded.get(), entries);
    checkSaving(loaded.get(), entries);
    checkChanges(loaded.get(), entries);
  }
  check(fuzz::lowestFreeDescriptor() == descriptorBefore, "every descriptor is closed again");
  return 0;
}
