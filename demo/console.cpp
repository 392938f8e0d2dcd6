#include "demo/console.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ostream>
#include <sstream>

#include "demo/quoting.h"

namespace demo {

namespace {

constexpr const char* continuationIndent = "   ";
constexpr const char* bold = "1";
constexpr const char* boldUnderlined = "1;4";

struct TagLook {
  Tag tag;
  const char* name;
  const char* tagColour;
  const char* textColour;  ///< empty: the terminal's own
};

constexpr std::array<TagLook, 9> looks{{{Tag::Uevent, "uevent", "36", ""},
                                        {Tag::Daemon, "daemon", "2", "2"},
                                        {Tag::Worker, "worker", "34", "34"},
                                        {Tag::Display, "display", "33", "1;33"},
                                        {Tag::Link, "link", "35", ""},
                                        {Tag::Config, "config", "35", ""},
                                        {Tag::Ok, "ok", "32", "32"},
                                        {Tag::Failed, "FAILED", "1;31", "1;31"},
                                        {Tag::Error, "error", "31", ""}}};

const TagLook& lookOf(Tag tag) {
  return *std::find_if(looks.begin(), looks.end(), [tag](const TagLook& look) { return look.tag == tag; });
}

std::string column(const std::string& name) {
  constexpr std::size_t width = 7;
  return name + std::string(width - std::min(width, name.size()), ' ') + " | ";
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream rest(text);
  for (std::string word; std::getline(rest, word, ' ');) {
    words.push_back(word);
  }
  return words;
}

/** Joined with blanks again; a word that is longer than a line has a line of its own. */
std::vector<std::string> wrapped(const std::vector<std::string>& words) {
  std::vector<std::string> lines;
  bool lineIsEmpty = true;
  for (const std::string& word : words) {
    if (lines.empty()) {
      lines.emplace_back();
    } else if (!lineIsEmpty && lines.back().size() + 1 + word.size() > textColumns) {
      lines.emplace_back(continuationIndent);
    } else {
      lines.back() += ' ';
    }
    lines.back() += word;
    lineIsEmpty = false;
  }
  return lines;
}

}  // namespace

Console::Colours Console::coloursFor(int descriptor) {
  const char* noColour = std::getenv("NO_COLOR");
  const bool unwanted = noColour != nullptr && *noColour != '\0';
  return ::isatty(descriptor) == 1 && !unwanted ? Colours::Terminal : Colours::None;
}

void Console::title(const std::string& text) {
  out_ << '\n' << coloured("== " + text + " ==", bold) << std::endl;
}

void Console::headline(const std::string& text) {
  out_ << '\n' << coloured(text, boldUnderlined) << std::endl;
}

void Console::line(Tag tag, const std::string& text) {
  line(tag, wordsOf(text));
}

void Console::line(Tag tag, const std::vector<std::string>& words) {
  const TagLook& look = lookOf(tag);
  std::string name = look.name;
  for (const std::string& text : wrapped(words)) {
    out_ << coloured(column(name), look.tagColour) << coloured(printable(text), look.textColour) << '\n';
    name.clear();
  }
  out_.flush();
}

void Console::plain(const std::string& text) {
  out_ << text << std::endl;
}

void Console::prompt(const std::string& text) {
  out_ << coloured(text, bold) << std::flush;
}

std::string Console::coloured(const std::string& text, const char* colour) const {
  if (colours_ == Colours::None || *colour == '\0') {
    return text;
  }
  return std::string("\033[") + colour + "m" + text + "\033[0m";
}

}  // namespace demo
