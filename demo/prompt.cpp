#include "demo/prompt.h"

#include <editline/readline.h>  // which wants stdio before it
#include <poll.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>

#include "sim/error.h"
#include "sim/wait.h"

namespace demo {

namespace {

constexpr const char* plainPrompt = "> ";
constexpr const char* boldPrompt = "\1\033[1m\1>\1\033[0m\1 ";

using LineOrEnd = std::optional<std::string>;

/** A unit, and lines from standard input; what happens in between is reported. The line editor has one only. */
struct Prompt {
  Log log = Log(80, 66);
  Unit unit = Unit(log);
  bool isEdited = ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
  Words completions;
};

Prompt& prompt() {
  static Prompt only;
  return only;
}

/** Below the line that is being typed, which is then shown once more. */
void reportNews() {
  Log::plain("\n");
  prompt().unit.report();
  if (prompt().isEdited) {
    rl_forced_update_display();
  } else {
    Log::plain(plainPrompt);
  }
}

std::optional<char> readByte() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  while (::poll(&input, 1, 0) <= 0) {
    if (prompt().unit.hasNews()) {
      reportNews();
    } else {
      const sim::Background wakeAtInput(STDIN_FILENO, [] {});
      const sim::Background wakeAtEndOfDaemon(prompt().unit.endOfDaemon(), [] {});
      sim::serveBackground(sim::Deadline(3600));
    }
  }
  char byte = 0;
  return ::read(STDIN_FILENO, &byte, 1) == 1 ? std::optional(byte) : std::nullopt;
}

LineOrEnd readPlainLine() {
  Log::plain(plainPrompt);
  std::string line;
  std::optional<char> byte = readByte();
  const bool isEnd = !byte;
  for (; byte && *byte != '\n'; byte = readByte()) {
    line += *byte;
  }
  if (::isatty(STDIN_FILENO) == 0) {
    Log::plain((isEnd ? "(end of input)" : line) + "\n");
  }
  return isEnd ? std::nullopt : LineOrEnd(line);
}

/** For the line editor. */
int readKey(FILE* /*input*/) {
  constexpr auto isIncomplete = static_cast<std::size_t>(-2);
  std::mbstate_t state{};
  wchar_t key = 0;
  while (const std::optional<char> byte = readByte()) {
    if (std::mbrtowc(&key, &*byte, 1, &state) != isIncomplete) {
      return static_cast<int>(key);
    }
  }
  return EOF;
}

/** One after another, with each call. */
char* nextCompletion(const char* word, int /*isNext*/) {
  Words& left = prompt().completions;
  std::erase_if(left, [word](const std::string& each) { return !each.starts_with(word); });
  if (left.empty()) {
    return nullptr;
  }
  char* const completion = ::strdup(left.back().c_str());
  left.pop_back();
  return completion;
}

char** complete(const char* word, int start, int /*end*/) {
  const std::string before(rl_line_buffer, static_cast<std::size_t>(start));
  prompt().completions = nextWords(wordsOf(before), prompt().unit);
  const bool isPath = std::strchr(word, '/') != nullptr;
  rl_attempted_completion_over = isPath ? 0 : 1;  // else the editor goes on to the names of files
  return isPath ? nullptr : rl_completion_matches(word, nextCompletion);
}

LineOrEnd readEditedLine() {
  rl_getc_function = readKey;
  rl_attempted_completion_function = complete;
  const std::unique_ptr<char, decltype(&std::free)> text(
      readline(prompt().log.isColoured() ? boldPrompt : plainPrompt), &std::free);
  if (text == nullptr) {
    return std::nullopt;
  }
  add_history(text.get());
  return std::string(text.get());
}

}  // namespace

void runPrompt() {
  std::setlocale(LC_CTYPE, "");
  Log::plain("The daemon on a simulated unit, and you at the desk. \"help\" lists the commands.\n\n");
  LineOrEnd line = "start";
  while (line && wordsOf(*line) != Words{"quit"}) {
    try {
      carryOutCommand(*line, prompt().unit, prompt().log);
    } catch (const sim::TimedOut&) {
      throw;
    } catch (const std::exception& error) {
      prompt().log.line("error", error.what());
    }
    Log::plain("\n");
    line = prompt().isEdited ? readEditedLine() : readPlainLine();
  }
}

}  // namespace demo
