#include "bench/storms/figures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace bench {

namespace {

/** Whole numbers as they are, others with three digits. */
std::string textOf(double value) {
  std::string text(64, '\0');
  const char* format = value == std::floor(value) ? "%.0f" : "%.3g";
  const int length = std::snprintf(text.data(), text.size(), format, value);
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace

void Figures::begin(const std::string& storm) {
  storm_ = storm;
  std::cout << "== " << storm << std::endl;
}

void Figures::report(const std::string& what, double value, const std::string& unit) {
  add(what, value, unit, "", true);
}

void Figures::noMoreThan(double bound, const std::string& what, double value, const std::string& unit) {
  add(what, value, unit, "at most " + textOf(bound), value <= bound);
}

void Figures::noLessThan(double bound, const std::string& what, double value, const std::string& unit) {
  add(what, value, unit, "at least " + textOf(bound), value >= bound);
}

void Figures::exactly(double bound, const std::string& what, double value, const std::string& unit) {
  add(what, value, unit, textOf(bound), value == bound);
}

void Figures::add(const std::string& what, double value, const std::string& unit, const std::string& bound,
                  bool holds) {
  rows_.push_back({storm_, what, textOf(value) + (unit.empty() ? "" : " " + unit), bound, holds});
  std::cout << "   " << what << ": " << rows_.back().value << std::endl;
}

void Figures::print() const {
  std::printf("\n%-26s %-58s %14s  %s\n", "storm", "figure", "measured", "bound");
  for (const Row& row : rows_) {
    std::printf("%-26s %-58s %14s  %s%s\n", row.storm.c_str(), row.what.c_str(), row.value.c_str(),
                row.bound.c_str(), row.holds ? "" : "  BROKEN");
  }
}

bool Figures::allHold() const {
  return std::all_of(rows_.begin(), rows_.end(), [](const Row& row) { return row.holds; });
}

}  // namespace bench
