#include "bench/json_report.h"

#include <nlohmann/json.hpp>

#include <array>
#include <optional>

namespace bench {

namespace {

using Json = nlohmann::ordered_json;

Json orNull(const std::optional<double>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json jsonOf(const Machine& machine) {
  return {{"kernel", machine.kernel}, {"processor", machine.processor}, {"processors", machine.processors}};
}

Json jsonOf(const Column& column) {
  const BuildKind& kind = column.kind;
  return {{"name", column.name},
          {"program", column.program},
          {"foreign", column.origin == Contender::Origin::foreign},
          {"kind",
           {{"static", kind.isStatic},
            {"position_independent", kind.isPositionIndependent},
            {"debug_information", kind.hasDebugInformation},
            {"sanitizers", kind.hasSanitizers},
            {"bits", kind.is64Bit ? 64 : 32}}}};
}

Json jsonOf(const Result& result, const Samples& samples) {
  const std::optional<Spread> spread = spreadOf(samples.values);
  Json json = {{"contender", samples.contender}, {"samples", samples.values}};
  if (spread) {
    json["median"] = spread->median;
    json["least"] = spread->least;
    json["most"] = spread->most;
  }
  json["to_calls"] = orNull(valueFor({.of = Bound::Of::calls, .atMost = 0}, result, samples));
  json["to_bare"] = orNull(valueFor({.of = Bound::Of::bare, .atMost = 0}, result, samples));
  if (!samples.failure.empty()) {
    json["failure"] = samples.failure;
  }
  return json;
}

Json jsonOf(const Bound& bound) {
  constexpr std::array names = {"itself", "calls", "bare"};
  return {{"of", names.at(static_cast<std::size_t>(bound.of))}, {"at_most", bound.atMost}};
}

Json jsonOf(const Result& result) {
  Json json = {{"name", result.figure.name},
               {"least_of", result.figure.repetitions},
               {"bounds", Json::array()},
               {"contenders", Json::array()}};
  for (const Bound& bound : result.figure.bounds) {
    json["bounds"].push_back(jsonOf(bound));
  }
  for (const Samples& samples : result.samples) {
    json["contenders"].push_back(jsonOf(result, samples));
  }
  return json;
}

}  // namespace

void printJson(std::ostream& out, const Machine& machine, const std::vector<Column>& columns,
               const std::vector<Result>& results) {
  Json report = {{"machine", jsonOf(machine)}, {"contenders", Json::array()}, {"figures", Json::array()}};
  for (const Column& column : columns) {
    report["contenders"].push_back(jsonOf(column));
  }
  for (const Result& result : results) {
    report["figures"].push_back(jsonOf(result));
  }
  out << report.dump(2) << '\n';
}

}  // namespace bench
