// quor_config's changes of a file and its reports, made by the program itself in this process.
//
// Input: a byte that says what is done, the key and the value, each up to a NUL, and the file; without the last
// there is none.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "config/entries.h"
#include "fuzz/captured_output.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "tools/config_file.h"

/** `main` of quor_config: it is compiled under this name here. */
int quorConfigMain(int argc, char** argv);

namespace {

using fuzz::check;

constexpr const char* folder = "/vel";
constexpr const char* path = "/vel/quor.conf";

struct Outcome {
  int status;
  std::string output;
};

Outcome run(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"quor_config", "--file", path});
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  const fuzz::CapturedOutput output;
  const int status = quorConfigMain(static_cast<int>(argv.size()) - 1, argv.data());
  return {.status = status, .output = output.text()};
}

// Settings by key; a section is a key without a text.
std::map<std::string, std::string> entries() {
  const Configuration configuration = loadOrBeginConfiguration(path);
  std::map<std::string, std::string> entries;
  if (configuration != nullptr) {
    forEachEntry(configuration.get(), [&entries](const char* key, const char* value) {
      entries[key] = value == nullptr ? "" : value;
    });
  }
  return entries;
}

// The key as iniparser keeps it.
std::string inLowerCase(std::string key) {
  for (char& letter : key) {
    letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  }
  return key;
}

struct File {
  bool exists;
  std::string content;

  bool operator==(const File&) const = default;
};

File presentFile() {
  const auto files = sim::entriesOf(folder);
  check(files.size() <= 1, "no other file is left beside the configuration");
  return files.empty() ? File{.exists = false, .content = ""}
                       : File{.exists = true, .content = sim::readFile(path)};
}

// Whether a change is made; one that is refused leaves the file as it was.
bool isDone(const std::vector<std::string>& arguments) {
  const File before = presentFile();
  const bool done = run(arguments).status == 0;
  check(done || presentFile() == before, "a change that is refused changes nothing");
  return done;
}

void checkSet(const std::string& key, const std::string& value) {
  const auto before = entries();
  if (!isDone({"set", key, value})) {
    return;
  }
  const Outcome read = run({"get", key});
  check(read.status == 0 && read.output == value + "\n", "what was set is read again as it was given");
  auto expected = before;
  const std::string keptKey = inLowerCase(key);
  expected.emplace(keptKey.substr(0, keptKey.find(':')), "");
  expected[keptKey] = value;
  check(entries() == expected, "nothing but the setting and its section has changed");
}

void checkUnset(const std::string& key) {
  const auto before = entries();
  if (!isDone({"unset", key})) {
    return;
  }
  check(run({"get", key}).status == 1, "what was removed is not there any more");
  auto expected = before;
  expected.erase(inLowerCase(key));
  check(entries() == expected, "nothing but the removed entry has changed");
}

void checkAddSection(const std::string& name) {
  const auto before = entries();
  if (!isDone({"add-section", name})) {
    return;
  }
  auto expected = before;
  expected.emplace(inLowerCase(name), "");
  check(entries() == expected, "nothing but the new section has changed");
}

// What changes nothing, whatever the file holds.
void checkReports() {
  const File before = presentFile();
  for (const char* command : {"print", "json", "sed", "check"}) {
    run({command});
  }
  // iniparser finds no longer keys than it can hold in a line.
  constexpr std::size_t longestLine = 1024;
  check(before.content.size() > longestLine || run({"diff", path}).status != 1,
        "a file does not differ from itself");
  check(presentFile() == before, "a report changes nothing");
}

void use(unsigned what, const std::string& key, const std::string& value) {
  constexpr unsigned uses = 6;
  switch (what % uses) {
    case 0:
      checkReports();
      break;
    case 1:
      checkUnset(key);
      break;
    case 2:
      checkAddSection(key);
      break;
    default:
      checkSet(key, value);
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static sim::Namespaces world;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int descriptorBefore = fuzz::lowestFreeDescriptor();
  fuzz::Input input(data, size);
  const unsigned what = input.byte();
  const std::string key = input.textUpTo('\0');
  const std::string value = input.textUpTo('\0');
  std::remove(path);
  if (!input.isAtEnd()) {
    sim::writeFile(path, input.rest());
  }
  use(what, key, value);
  presentFile();
  check(fuzz::lowestFreeDescriptor() == descriptorBefore, "every descriptor is closed again");
  return 0;
}
