#include "demo/prompt.h"

#include <editline/readline.h>  // which wants stdio before it
#include <poll.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "sim/error.h"
#include "sim/wait.h"

namespace demo {

namespace {

constexpr const char* introduction =
    "The daemon on a simulated unit, and you at the desk. \"help\" lists the commands.";

/** A unit, and lines from standard input; what happens in between is reported. */
class Prompt {
 public:
  explicit Prompt(Log& log);

  Unit& unit() { return unit_; }
  /** The next line, edited by hand if that is possible; none at the end of the input. */
  std::optional<std::string> readLine() { return isEdited_ ? readEditedLine() : readPlainLine(); }

 private:
  std::optional<std::string> readEditedLine();
  std::optional<std::string> readPlainLine();
  std::optional<char> readByte();
  void reportNews();

  static int readKey(FILE* input);
  static char** complete(const char* word, int start, int end);
  static char* nextCompletion(const char* word, int isNext);

  inline static Prompt* edited = nullptr;  ///< the line editor's calls take no object

  Log& log_;
  Unit unit_;
  bool isEdited_ = ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
  Words completions_;
};

Prompt::Prompt(Log& log) : log_(log), unit_(log) {
  edited = this;
  rl_getc_function = readKey;
  rl_attempted_completion_function = complete;
}

std::optional<std::string> Prompt::readEditedLine() {
  const char* prompt = log_.isColoured() ? "\1\033[1m\1>\1\033[0m\1 " : "> ";
  char* const typedText = readline(prompt);
  if (typedText == nullptr) {
    return std::nullopt;
  }
  std::string line = typedText;
  std::free(typedText);
  if (!line.empty()) {
    add_history(line.c_str());
  }
  return line;
}

std::optional<std::string> Prompt::readPlainLine() {
  log_.begin("> ");
  std::string line;
  std::optional<char> byte = readByte();
  const bool isEnd = !byte;
  for (; byte && *byte != '\n'; byte = readByte()) {
    line += *byte;
  }
  if (::isatty(STDIN_FILENO) == 0) {
    log_.plain(isEnd ? "(end of input)" : line);
  }
  return isEnd ? std::nullopt : std::optional(line);
}

std::optional<char> Prompt::readByte() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  while (::poll(&input, 1, 0) <= 0) {
    if (unit_.hasNews()) {
      reportNews();
      continue;
    }
    const sim::Background wakeAtInput(STDIN_FILENO, [] {});
    const sim::Background wakeAtEndOfDaemon(unit_.endOfDaemon(), [] {});
    sim::serveBackground(sim::Deadline(3600));
  }
  char byte = 0;
  return ::read(STDIN_FILENO, &byte, 1) == 1 ? std::optional(byte) : std::nullopt;
}

/** Below the line that is being typed, which is then shown once more. */
void Prompt::reportNews() {
  log_.plain("");
  unit_.report();
  if (isEdited_) {
    rl_forced_update_display();
  } else {
    log_.begin("> ");
  }
}

int Prompt::readKey(FILE* /*input*/) {
  std::mbstate_t state{};
  wchar_t key = 0;
  while (const std::optional<char> byte = edited->readByte()) {
    constexpr auto isIncomplete = static_cast<std::size_t>(-2);
    if (std::mbrtowc(&key, &*byte, 1, &state) != isIncomplete) {
      return static_cast<int>(key);
    }
  }
  return EOF;
}

char** Prompt::complete(const char* word, int start, int /*end*/) {
  const Words before = wordsOf(std::string(rl_line_buffer).substr(0, static_cast<std::size_t>(start)));
  edited->completions_ = nextWords(before, edited->unit_);
  const bool isPath = std::strchr(word, '/') != nullptr;
  rl_attempted_completion_over = isPath ? 0 : 1;  // else it would go on to the names of files
  return isPath ? nullptr : rl_completion_matches(word, nextCompletion);
}

char* Prompt::nextCompletion(const char* word, int /*isNext*/) {
  Words& left = edited->completions_;
  std::erase_if(left, [word](const std::string& each) { return !each.starts_with(word); });
  if (left.empty()) {
    return nullptr;
  }
  char* const completion = ::strdup(left.back().c_str());
  left.pop_back();
  return completion;
}

}  // namespace

void runPrompt(Log& log) {
  std::setlocale(LC_CTYPE, "");
  Prompt prompt(log);
  log.plain(introduction + std::string("\n"));
  std::optional<std::string> line = "start";
  while (line && wordsOf(*line) != Words{"quit"}) {
    try {
      carryOutCommand(*line, prompt.unit(), log);
    } catch (const sim::TimedOut&) {
      throw;
    } catch (const std::exception& error) {
      log.line(Tag::Error, error.what());
    }
    log.plain("");
    line = prompt.readLine();
  }
}

}  // namespace demo
