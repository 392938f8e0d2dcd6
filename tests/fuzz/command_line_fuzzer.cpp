// Command lines and the lists in them, against a second, plain reading.
//
// Input: the arguments behind the program's name, each up to a NUL. Where there are fewer than three, more are added,
// as main takes no command line of fewer. The first argument is also read as each of the two lists.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ctrl/command_line.h"
#include "ctrl/settings.h"
#include "fuzz/check.h"
#include "fuzz/input.h"

namespace {

using fuzz::check;

using Arguments = std::vector<std::string>;

// What is thrown in place of the end of the program: its last words.
struct Refused {
  std::string text;
};

constexpr const char* usage =
    "Usage: usb_rx_ctrl [--class={none,keyboard,scsi,all}] [--debug={ctrl,generic,keyboard,scsi}]"
    " [--syslog|--stderr] [--keys <inkey> <outkey>]  [--sock=<socketpath>] [--intf=<networkconn>]"
    " <hostname> <port> <speed>\n";

// What comes of a command line.
struct Outcome {
  std::string refusal;
  Options options;
  Settings settings;
};

bool areEqual(const Settings& one, const Settings& other) {
  return one.logToSyslog == other.logToSyslog && one.debugCtrl == other.debugCtrl &&
         one.debugGeneric == other.debugGeneric && one.debugKeyboard == other.debugKeyboard &&
         one.debugScsi == other.debugScsi;
}

std::string orNothing(const char* text) {
  return text == nullptr ? "nothing" : std::string("=") + text;
}

bool areEqual(const Options& one, const Options& other) {
  return one.socketPath == other.socketPath && one.interface == other.interface &&
         one.classes == other.classes && orNothing(one.inkey) == orNothing(other.inkey) &&
         orNothing(one.outkey) == orNothing(other.outkey) && one.debugGiven == other.debugGiven &&
         one.classGiven == other.classGiven && one.logGiven == other.logGiven;
}

// The second reading: letter by letter, and every word written out.
namespace plain {

std::vector<std::string> itemsOf(const std::string& list) {
  std::vector<std::string> items;
  std::string item;
  for (const char letter : list) {
    if (letter == ',') {
      items.push_back(item);
      item.clear();
    } else {
      item += letter;
    }
  }
  if (!item.empty()) {
    items.push_back(item);
  }
  return items;
}

void refuse(const std::string& item) {
  throw Refused{"Invalid debug option '" + item + "'\n"};
}

std::uint32_t classesOf(const std::string& list) {
  std::uint32_t classes = 0;
  for (const std::string& item : itemsOf(list)) {
    if (item == "none") {
      classes = 0;
    } else if (item == "keyboard") {
      classes |= 1;
    } else if (item == "scsi") {
      classes |= 2;
    } else if (item == "all") {
      classes |= 255;
    } else {
      refuse(item);
    }
  }
  return classes;
}

void switchOn(Settings& settings, const std::string& list) {
  for (const std::string& item : itemsOf(list)) {
    if (item == "ctrl") {
      settings.debugCtrl = true;
    } else if (item == "generic") {
      settings.debugGeneric = true;
    } else if (item == "keyboard") {
      settings.debugKeyboard = true;
    } else if (item == "scsi") {
      settings.debugScsi = true;
    } else if (item != "none") {
      refuse(item);
    }
  }
}

bool begins(const std::string& argument, const std::string& option) {
  return argument.compare(0, option.size(), option) == 0;
}

// Reads one option; returns how many arguments it has taken besides itself.
std::size_t readOption(Options& options, Settings& settings, const Arguments& arguments, std::size_t i) {
  const std::string& argument = arguments[i];
  if (begins(argument, "--debug=")) {
    switchOn(settings, argument.substr(8));
    options.debugGiven = true;
  } else if (begins(argument, "--class=")) {
    options.classes = classesOf(argument.substr(8));
    options.classGiven = true;
  } else if (argument == "--syslog" || argument == "--stderr") {
    settings.logToSyslog = argument == "--syslog";
    options.logGiven = true;
  } else if (argument == "--keys" && i + 2 < arguments.size()) {
    options.inkey = arguments[i + 1].c_str();
    options.outkey = arguments[i + 2].c_str();
    return 2;
  } else if (begins(argument, "--sock=")) {
    options.socketPath = argument.substr(7);
  } else if (begins(argument, "--intf=")) {
    options.interface = argument.substr(7);
  } else {
    throw Refused{usage};
  }
  return 0;
}

Outcome read(const Arguments& arguments) {
  Outcome outcome;
  try {
    for (std::size_t i = 0; i + 3 < arguments.size(); ++i) {
      i += readOption(outcome.options, outcome.settings, arguments, i);
    }
  } catch (const Refused& refused) {
    outcome.refusal = refused.text;
  }
  return outcome;
}

}  // namespace plain

Arguments readArguments(fuzz::Input input) {
  Arguments arguments;
  while (!input.isAtEnd()) {
    arguments.push_back(input.textUpTo('\0'));
  }
  while (arguments.size() < positionalCount) {
    arguments.emplace_back("host");
  }
  return arguments;
}

Outcome parse(Arguments& arguments) {
  std::string program = "usb_rx_ctrl";
  std::vector<char*> argv{program.data()};
  argv.reserve(arguments.size() + 2);
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  settings = {};
  Outcome outcome;
  try {
    outcome.options = parseOptions(static_cast<int>(argv.size()) - 1, argv.data());
  } catch (const Refused& refused) {
    outcome.refusal = refused.text;
  }
  outcome.settings = settings;
  return outcome;
}

void checkOptions(Arguments arguments) {
  const Outcome outcome = parse(arguments);
  const Outcome expected = plain::read(arguments);
  check(outcome.refusal == expected.refusal,
        "what is refused is refused by a plain reading, in the same words");
  check(areEqual(outcome.settings, expected.settings), "the settings are those of a plain reading");
  check(!outcome.refusal.empty() || areEqual(outcome.options, expected.options),
        "the options are those of a plain reading");
}

// What `read` makes of a list, as text.
std::string readingOf(const std::function<std::string()>& read) {
  try {
    return read();
  } catch (const Refused& refused) {
    return refused.text;
  }
}

std::string textOf(const Settings& settings) {
  std::string text;
  for (const bool isOn :
       {settings.debugCtrl, settings.debugGeneric, settings.debugKeyboard, settings.debugScsi}) {
    text += isOn ? "on " : "off ";
  }
  return text;
}

void checkLists(const std::string& list) {
  check(readingOf([&list] { return std::to_string(parseClassList(list)); }) ==
            readingOf([&list] { return std::to_string(plain::classesOf(list)); }),
        "a list of classes says what it says in a plain reading");
  check(readingOf([&list] {
          settings = {};
          parseDebugList(list);
          return textOf(settings);
        }) == readingOf([&list] {
          Settings expected;
          plain::switchOn(expected, list);
          return textOf(expected);
        }),
        "a debug list says what it says in a plain reading");
}

}  // namespace

// Stands for ulx::writeOnce. In the command line only its last words are written, and std::exit follows: what is thrown
// in its place leaves nothing of one run to the next.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void __wrap__ZN3ulx9writeOnceEiSt17basic_string_viewIcSt11char_traitsIcEE(int /*fd*/,
                                                                                     std::string_view text) {
  throw Refused{std::string(text)};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Arguments arguments = readArguments({data, size});
  checkLists(arguments.front());
  checkOptions(arguments);
  return 0;
}
