#include "sim/state_report.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace sim {

namespace {

std::vector<const StateReport*>& reports() {
  static std::vector<const StateReport*> all;
  return all;
}

}  // namespace

StateReport::StateReport(std::function<std::string()> describe) : describe_(std::move(describe)) {
  reports().push_back(this);
}

StateReport::~StateReport() {
  auto& all = reports();
  all.erase(std::remove(all.begin(), all.end(), this), all.end());
}

std::string allStateReports() {
  std::string text;
  for (const StateReport* report : reports()) {
    text += report->describe_();
  }
  return text;
}

}  // namespace sim
