#include <editline/readline.h>
#include <poll.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <optional>

#include "demo/scenes.h"
#include "demo/unit.h"
#include "sim/error.h"
#include "sim/wait.h"

namespace demo {

namespace {

constexpr const char* plainPrompt = "> ";
constexpr const char* boldPrompt = "\1\033[1m\1>\1\033[0m\1 ";

/** What the functions share that the line editor calls. */
struct Prompt {
  Log log;
  Unit unit = Unit(log);
  bool isEdited = ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
  Words completions;
};

Prompt& prompt() {
  static Prompt only;
  return only;
}

/** What happens until then is reported, below the line that is being typed; this is then shown once more. */
void waitForInput() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  while (::poll(&input, 1, 0) <= 0) {
    if (!prompt().unit.hasNews()) {
      const sim::Background wakeAtInput(STDIN_FILENO, [] {});
      const sim::Background wakeAtEndOfDaemon(prompt().unit.endOfDaemon(), [] {});
      sim::serveBackground(sim::Deadline(3600));
      continue;
    }
    Log::plain("\n");
    prompt().unit.report();
    if (prompt().isEdited) {
      rl_forced_update_display();
    } else {
      Log::plain(plainPrompt);
    }
  }
}

int readKey(FILE* /*input*/) {
  constexpr auto isIncomplete = static_cast<std::size_t>(-2);
  std::mbstate_t state{};
  wchar_t key = 0;
  char byte = 0;
  do {
    waitForInput();
    if (::read(STDIN_FILENO, &byte, 1) != 1) {
      return EOF;
    }
  } while (std::mbrtowc(&key, &byte, 1, &state) == isIncomplete);
  return static_cast<int>(key);
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
  prompt().completions = prompt().unit.nextWords(wordsOf(before));
  const bool isPath = std::strchr(word, '/') != nullptr;
  rl_attempted_completion_over = isPath ? 0 : 1;  // else the editor goes on to the names of files
  return isPath ? nullptr : rl_completion_matches(word, nextCompletion);
}

/** Where there is no terminal, the editor just reads, and the line is shown as if it had been typed. */
std::optional<std::string> readLine() {
  if (!prompt().isEdited) {
    Log::plain(plainPrompt);
  }
  const std::unique_ptr<char, decltype(&std::free)> text(
      readline(Log::isColoured() ? boldPrompt : plainPrompt), &std::free);
  if (::isatty(STDIN_FILENO) == 0) {
    Log::plain((text == nullptr ? std::string("(end of input)") : text.get()) + "\n");
  }
  if (text == nullptr) {
    return std::nullopt;
  }
  add_history(text.get());
  return std::string(text.get());
}

}  // namespace

void runPrompt() {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  rl_getc_function = readKey;
  rl_attempted_completion_function = complete;
  Log::plain("The daemon on a simulated unit, and you at the desk. \"help\" lists the commands.\n\n");
  std::optional<std::string> line = "start";
  while (line && wordsOf(*line) != Words{"quit"}) {
    try {
      prompt().unit.carryOut(*line);
    } catch (const sim::TimedOut&) {
      throw;
    } catch (const std::exception& error) {
      prompt().log.line("error", error.what());
    }
    Log::plain("\n");
    line = readLine();
  }
}

}  // namespace demo
