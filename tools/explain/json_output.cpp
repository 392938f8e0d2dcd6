#include "tools/explain/json_output.h"

#include <initializer_list>
#include <optional>
#include <utility>

#include "tools/explain/outcome_words.h"
#include "tools/explain/readable_text.h"
#include "tools/explain/usb_words.h"

namespace explain {

namespace {

using Member = std::pair<const char*, std::string>;  // a name and a value in JSON

std::string object(std::initializer_list<Member> members) {
  std::string text;
  for (const auto& [name, value] : members) {
    text += (text.empty() ? "\"" : ", \"") + std::string(name) + "\": " + value;
  }
  return "{" + text + "}";
}

template <class Items, class Write>
std::string array(const Items& items, Write write) {
  std::string text;
  for (const auto& item : items) {
    text += (text.empty() ? "" : ", ") + write(item);
  }
  return "[" + text + "]";
}

std::string boolean(bool value) {
  return value ? "true" : "false";
}

std::string number(std::size_t value) {
  return std::to_string(value);
}

template <class Number>
std::string numberOrNull(std::optional<Number> value) {
  return value ? std::to_string(*value) : "null";
}

std::string idOrNull(std::optional<std::uint16_t> id) {
  return id ? jsonString(hexadecimal(*id)) : "null";
}

std::string stringOrNull(const std::string& text) {
  return text.empty() ? "null" : jsonString(text);
}

std::string commandLine(const WorkerArguments& arguments) {
  return arguments.empty() ? "null" : array(arguments, jsonString);
}

std::string endpointJson(const Endpoint& endpoint) {
  return object({{"address", numberOrNull(endpoint.address)},
                 {"direction", jsonString(directionWords(endpoint))},
                 {"type", jsonString(transferWords(endpoint))},
                 {"packet_size", numberOrNull(endpoint.packetSize)},
                 {"offset", number(endpoint.offset)}});
}

std::string interfaceJson(const Interface& interface) {
  return object({{"configuration", numberOrNull(interface.configuration)},
                 {"number", numberOrNull(interface.number)},
                 {"alternate_setting", numberOrNull(interface.alternateSetting)},
                 {"class", numberOrNull(interface.interfaceClass)},
                 {"subclass", numberOrNull(interface.subclass)},
                 {"protocol", numberOrNull(interface.protocol)},
                 {"words", jsonString(interfaceClassWords(interface))},
                 {"offset", number(interface.offset)},
                 {"endpoints", array(interface.endpoints, endpointJson)}});
}

std::string descriptorsJson(const DescriptorListing& descriptors) {
  return object({{"bytes", number(descriptors.bytes)},
                 {"end", number(descriptors.end)},
                 {"damage", stringOrNull(damageWords(descriptors))},
                 {"vendor", idOrNull(descriptors.vendor)},
                 {"product", idOrNull(descriptors.product)},
                 {"device_class", numberOrNull(descriptors.deviceClass)},
                 {"configurations", number(descriptors.configurations)},
                 {"interfaces", array(descriptors.interfaces, interfaceJson)}});
}

std::string kindJson(const KindAnswer& answer) {
  return object({{"kind", jsonString(answer.kind)},
                 {"asked", boolean(answer.isAsked())},
                 {"why_not_asked", stringOrNull(answer.whyNotAsked)},
                 {"fits", boolean(answer.fits)},
                 {"reason", stringOrNull(answer.reason)}});
}

std::string ruleJson(const RuleAnswer& answer) {
  return object({{"name", jsonString(answer.name)},
                 {"on", boolean(answer.isOn)},
                 {"reason", jsonString(answer.reason)},
                 {"found", stringOrNull(answer.found)},
                 {"offset", numberOrNull(answer.place)},
                 {"verdict", jsonString(verdictWord(answer.verdict))}});
}

std::string nodeJson(const NodeAnswer& answer) {
  return object({{"path", jsonString(answer.path)},
                 {"worker", commandLine(answer.worker)},
                 {"display", answer.isServed() ? jsonString(answer.display) : "null"},
                 {"reason", stringOrNull(answer.reason)},
                 {"at_start", stringOrNull(answer.atStart)}});
}

std::string configurationJson(const Circumstances& circumstances) {
  return object({{"path", jsonString(circumstances.configuration)},
                 {"state", jsonString(stateWord(circumstances.configurationState))}});
}

std::string explanationJson(const Explanation& explanation, const Circumstances& circumstances) {
  return object({{"device", jsonString(explanation.path)},
                 {"source", stringOrNull(explanation.source)},
                 {"name", jsonString(explanation.name)},
                 {"speed", stringOrNull(explanation.speed)},
                 {"speed_inferred", boolean(explanation.isSpeedInferred)},
                 {"kind", stringOrNull(kindWord(explanation.kind))},
                 {"verdict", jsonString(outcomeWord(explanation.outcome))},
                 {"rule", stringOrNull(explanation.rule)},
                 {"reason", stringOrNull(explanation.reason)},
                 {"display", explanation.display ? jsonString(*explanation.display) : "null"},
                 {"worker", commandLine(explanation.worker)},
                 {"kinds", array(explanation.kinds, kindJson)},
                 {"rules", array(explanation.rules, ruleJson)},
                 {"nodes", array(explanation.nodes, nodeJson)},
                 {"descriptors", descriptorsJson(explanation.descriptors)},
                 {"configuration", configurationJson(circumstances)}});
}

}  // namespace

std::string jsonOf(const std::vector<Explanation>& explanations, const Circumstances& circumstances) {
  std::string text;
  for (const Explanation& explanation : explanations) {
    text += (text.empty() ? "\n" : ",\n") + explanationJson(explanation, circumstances);
  }
  return "[" + text + "\n]\n";
}

}  // namespace explain
