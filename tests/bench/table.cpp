#include "bench/table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

namespace bench {

namespace {

constexpr int labelWidth = 23;
constexpr int columnWidth = 11;

std::string formatted(const char* format, double value) {
  std::string text(64, '\0');
  text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), format, value)));
  return text;
}

/** Whole numbers as they are, others with three digits or all before the point. */
std::string textOf(double value) {
  constexpr double allDigitsFrom = 100;
  const bool isWhole = value == std::floor(value) || value >= allDigitsFrom;
  return formatted(isWhole ? "%.0f" : "%.3g", value);
}

std::string ratioText(double ratio) {
  return formatted("%.2f", ratio);
}

std::string padded(const std::string& text, int width) {
  return text +
         std::string(static_cast<std::size_t>(std::max(1, width - static_cast<int>(text.size()))), ' ');
}

void printLine(std::ostream& out, const std::string& label, const std::vector<std::string>& cells) {
  std::string line = padded(label, labelWidth);
  for (const std::string& cell : cells) {
    line += padded(cell, columnWidth);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out << line << '\n';
}

std::string medianText(const Samples& samples) {
  const std::optional<Spread> spread = spreadOf(samples.values);
  return spread ? textOf(spread->median) : "-";
}

std::string rangeText(const Samples& samples) {
  const std::optional<Spread> spread = spreadOf(samples.values);
  return spread ? textOf(spread->least) + ".." + textOf(spread->most) : "";
}

bool varies(const Samples& samples) {
  const std::optional<Spread> spread = spreadOf(samples.values);
  return spread && spread->least != spread->most;
}

template <class Cell>
void printRow(std::ostream& out, const std::string& label, const Result& result, const Cell& cell) {
  std::vector<std::string> cells;
  std::ranges::transform(result.samples, std::back_inserter(cells), cell);
  printLine(out, label, cells);
}

void printRatios(std::ostream& out, const Result& result, Bound::Of reference, const std::string& label) {
  const Bound unbounded{.of = reference, .atMost = 0};
  const auto ratio = [&](const Samples& samples) { return valueFor(unbounded, result, samples); };
  if (std::ranges::any_of(result.samples,
                          [&](const Samples& samples) { return ratio(samples).has_value(); })) {
    printRow(out, label, result, [&](const Samples& samples) {
      const std::optional<double> value = ratio(samples);
      return value ? ratioText(*value) : "-";
    });
  }
}

std::string boundText(const Bound& bound, double value) {
  switch (bound.of) {
    case Bound::Of::calls:
      return ratioText(value) + " of calls, at most " + ratioText(bound.atMost);
    case Bound::Of::bare:
      return ratioText(value) + " of bare, at most " + ratioText(bound.atMost);
    case Bound::Of::itself:
      break;
  }
  return textOf(value) + ", at most " + textOf(bound.atMost);
}

void printBounds(std::ostream& out, const Result& result, const Samples& samples) {
  for (const Bound& bound : result.figure.bounds) {
    if (const std::optional<double> value = valueFor(bound, result, samples)) {
      out << "  " << samples.contender << ": " << boundText(bound, *value)
          << (*value <= bound.atMost ? ": reached\n" : ": NOT reached\n");
    }
  }
}

void printBounds(std::ostream& out, const Result& result) {
  for (const Samples& samples : result.samples) {
    if (samples.isHeldToBounds) {
      printBounds(out, result, samples);
    }
  }
}

void printFailures(std::ostream& out, const Result& result) {
  for (const Samples& samples : result.samples) {
    if (!samples.failure.empty()) {
      out << "  " << samples.contender << " was not measured: " << samples.failure << '\n';
    }
  }
}

void printResult(std::ostream& out, const Result& result) {
  out << '\n';
  printRow(out, result.figure.name, result, medianText);
  if (result.figure.repetitions > 1) {
    printLine(out, "  least of " + std::to_string(result.figure.repetitions) + " each", {});
  }
  if (std::ranges::any_of(result.samples, varies)) {
    printRow(out, "  min..max", result, rangeText);
  }
  printRatios(out, result, Bound::Of::calls, "  to calls");
  printRatios(out, result, Bound::Of::bare, "  to bare");
  printBounds(out, result);
  printFailures(out, result);
}

bool areOfOneKind(const std::vector<Column>& columns) {
  const auto isForeign = [](const Column& column) { return column.origin == Contender::Origin::foreign; };
  std::vector<Column> own = columns;
  std::erase_if(own, isForeign);
  return std::ranges::all_of(own, [&](const Column& column) { return column.kind == own.front().kind; });
}

void printHeading(std::ostream& out, const Machine& machine, const std::vector<Column>& columns) {
  out << machine.kernel << ", " << machine.processors << " of " << machine.processor << '\n'
      << "Medians; ratios are medians of those of each round.\n";
  if (!areOfOneKind(columns)) {
    out << "The programs are builds of DIFFERENT KINDS: their figures say little of the sources.\n";
  }
  out << '\n';
  std::vector<std::string> names;
  std::vector<std::string> kinds;
  for (const Column& column : columns) {
    names.push_back(column.name);
    kinds.push_back(abbreviate(column.kind));
  }
  printLine(out, "", names);
  printLine(out, "", kinds);
}

}  // namespace

void printTable(std::ostream& out, const Machine& machine, const std::vector<Column>& columns,
                const std::vector<Result>& results) {
  printHeading(out, machine, columns);
  for (const Result& result : results) {
    printResult(out, result);
  }
}

}  // namespace bench
