#include "bench/rounds.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "bench/separate_process.h"

namespace bench {

namespace {

/** A contender and where its figure is measured; the process goes when it fails. */
struct Turn {
  Samples samples;
  std::unique_ptr<SeparateProcess> process;
};

/** One line that moves, or a line for each figure where nobody watches. */
class Progress {
 public:
  explicit Progress(const Figure& figure) : figure_(figure), moves_(::isatty(STDERR_FILENO) != 0) {
    if (!moves_) {
      std::fprintf(stderr, "%s\n", figure_.name.c_str());
    }
  }
  ~Progress() {
    if (moves_) {
      std::fputs("\r\033[K", stderr);
    }
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(int round) const {
    if (moves_) {
      std::fprintf(stderr, "\r\033[K%s: round %d of %d", figure_.name.c_str(), round + 1, figure_.rounds);
    }
  }

 private:
  const Figure& figure_;
  bool moves_;
};

template <class Action>
void tryWith(Turn& turn, const Action& action) {
  if (turn.process == nullptr) {
    return;
  }
  try {
    action(*turn.process);
  } catch (const std::exception& error) {
    turn.samples.failure = error.what();
    turn.process.reset();
  }
}

Turn prepare(const Figure& figure, const Contender& contender) {
  Turn turn{.samples = {.contender = contender.name(),
                        .isHeldToBounds = contender.isHeldToBounds(),
                        .values = {},
                        .failure = {}},
            .process = {}};
  try {
    turn.process = std::make_unique<SeparateProcess>(figure, contender);
    if (!turn.process->measures()) {
      turn.process.reset();
    }
  } catch (const std::exception& error) {
    turn.samples.failure = error.what();
  }
  return turn;
}

void ask(Turn& turn) {
  tryWith(turn, [](SeparateProcess& process) { process.askForSample(); });
}

void take(Turn& turn) {
  tryWith(turn, [&turn](SeparateProcess& process) { turn.samples.values.push_back(process.takeSample()); });
}

void measureAtOnce(std::vector<Turn>& turns) {
  std::ranges::for_each(turns, ask);
  std::ranges::for_each(turns, take);
}

void measureInTurns(std::vector<Turn>& turns, std::mt19937& random) {
  std::vector<std::size_t> order(turns.size());
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), random);
  for (const std::size_t each : order) {
    ask(turns[each]);
    take(turns[each]);
  }
}

}  // namespace

Result measure(const Figure& figure, const Contenders& contenders) {
  const Progress progress(figure);
  std::mt19937 random;  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same orders each time
  std::vector<Turn> turns;
  for (const std::unique_ptr<Contender>& contender : contenders) {
    turns.push_back(prepare(figure, *contender));
  }
  for (int round = 0; round < figure.rounds; ++round) {
    progress.show(round);
    figure.atOnce ? measureAtOnce(turns) : measureInTurns(turns, random);
  }
  Result result{.figure = figure, .samples = {}};
  for (Turn& turn : turns) {
    result.samples.push_back(std::move(turn.samples));
  }
  return result;
}

}  // namespace bench
