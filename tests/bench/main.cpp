// Measures the daemon beside programs that do less, and beside others of its trade that are installed.

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "bench/column.h"
#include "bench/json_report.h"
#include "bench/machine.h"
#include "bench/options.h"
#include "bench/rounds.h"
#include "bench/table.h"
#include "sim/error.h"

namespace {

using bench::Column;
using bench::Contender;
using bench::Contenders;
using bench::Options;
using bench::Result;

bool isOwn(const Column& column) {
  return column.origin == Contender::Origin::project;
}

/** The project's own contenders are needed; a foreign one that cannot run is left out. */
Contenders contendersThatRun(const Options& options) {
  Contenders running;
  for (std::unique_ptr<Contender>& contender : bench::allContenders(options.daemons)) {
    const std::optional<std::string> obstacle = contender->obstacle();
    if (!obstacle) {
      running.push_back(std::move(contender));
    } else if (contender->origin() == Contender::Origin::project) {
      throw sim::Error(*obstacle);
    } else {
      std::cerr << contender->name() << " is left out: " << *obstacle << '\n';
    }
  }
  return running;
}

void requireDifferentNames(const std::vector<Column>& columns) {
  std::set<std::string> names;
  for (const Column& column : columns) {
    if (!names.insert(column.name).second) {
      throw bench::UsageError("two contenders are named '" + column.name + "'");
    }
  }
}

void requireOneKind(const std::vector<Column>& columns) {
  const Column& first = columns.front();
  for (const Column& column : columns) {
    if (isOwn(column) && column.kind != first.kind) {
      throw sim::Error("builds of different kinds are not compared without --different-kinds:\n  " +
                       first.program + ": " + describe(first.kind) + "\n  " + column.program + ": " +
                       describe(column.kind));
    }
  }
}

bool isWanted(const bench::Figure& figure, const std::vector<std::string>& wanted) {
  return wanted.empty() || std::ranges::any_of(wanted, [&](const std::string& text) {
           return figure.name.find(text) != std::string::npos;
         });
}

std::vector<Result> measureAll(const Options& options, const Contenders& contenders) {
  std::vector<Result> results;
  for (const bench::Figure& figure : bench::allFigures(options.pace)) {
    if (isWanted(figure, options.wanted)) {
      results.push_back(measure(figure, contenders));
    }
  }
  return results;
}

void print(const Options& options, const std::vector<Column>& columns, const std::vector<Result>& results) {
  const bench::Machine machine = bench::thisMachine();
  if (options.printsTable) {
    printTable(std::cout, machine, columns, results);
  }
  if (!options.printsJson) {
    return;
  }
  if (options.jsonFile.empty()) {
    printJson(std::cout, machine, columns, results);
    return;
  }
  std::ofstream file(options.jsonFile);
  printJson(file, machine, columns, results);
  if (!file.flush()) {
    throw sim::Error(options.jsonFile + " could not be written");
  }
}

/** Whether each of the project's own contenders was measured. */
bool isComplete(const std::vector<Column>& columns, const std::vector<Result>& results) {
  return std::ranges::all_of(results, [&](const Result& result) {
    return std::ranges::all_of(columns, [&](const Column& column) {
      return !isOwn(column) || samplesOf(result, column.name)->failure.empty();
    });
  });
}

int run(const Options& options) {
  const Contenders contenders = contendersThatRun(options);
  std::vector<Column> columns;
  for (const std::unique_ptr<Contender>& contender : contenders) {
    columns.push_back(columnOf(*contender));
  }
  requireDifferentNames(columns);
  if (!options.differentKinds) {
    requireOneKind(columns);
  }
  const std::vector<Result> results = measureAll(options, contenders);
  print(options, columns, results);
  return isComplete(columns, results) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int usageStatus = 2;
  try {
    return run(bench::parseOptions({argv + 1, argv + argc}));
  } catch (const bench::UsageError& error) {
    std::cerr << "usb_rx_bench: " << error.what() << '\n' << bench::usage;
    return usageStatus;
  } catch (const std::exception& error) {
    std::cerr << "usb_rx_bench: " << error.what() << '\n';
    return 1;
  }
}
