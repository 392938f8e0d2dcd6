#pragma once

#include <string>
#include <vector>

namespace bench {

/** What was measured, row by row, and what each figure may be at most or at least. */
class Figures {
 public:
  /** Begins the rows of one storm; the title is printed at once, to show where the program is. */
  void begin(const std::string& storm);

  /** A figure that nothing is promised of. */
  void report(const std::string& what, double value, const std::string& unit);
  void noMoreThan(double bound, const std::string& what, double value, const std::string& unit);
  void noLessThan(double bound, const std::string& what, double value, const std::string& unit);
  void exactly(double bound, const std::string& what, double value, const std::string& unit = "");

  /** All rows, a broken bound marked. */
  void print() const;
  [[nodiscard]] bool allHold() const;

 private:
  struct Row {
    std::string storm;
    std::string what;
    std::string value;
    std::string bound;
    bool holds;
  };

  void add(const std::string& what, double value, const std::string& unit, const std::string& bound,
           bool holds);

  std::string storm_;
  std::vector<Row> rows_;
};

}  // namespace bench
