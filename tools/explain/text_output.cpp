#include "tools/explain/text_output.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>

#include "ctrl/device_classes.h"
#include "hotplug/usb_descriptors.h"
#include "tools/explain/outcome_words.h"
#include "tools/explain/readable_text.h"
#include "tools/explain/usb_words.h"
#include "tools/explain/worker_lines.h"
#include "ulx/format.h"

namespace explain {

namespace {

constexpr std::size_t columns = 80;

// A paragraph in lines of at most 80 columns where its words allow that; all but the first are indented more.
std::string paragraph(std::size_t indent, const std::string& text) {
  constexpr std::size_t further = 4;
  std::string lines;
  std::string line(indent, ' ');
  std::string_view rest = text;
  bool isFirstWord = true;
  while (!rest.empty()) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    if (!isFirstWord && line.size() + 1 + word.size() > columns) {
      lines += line + "\n";
      line = std::string(indent + further, ' ');
      isFirstWord = true;
    }
    line += (isFirstWord ? "" : " ") + std::string(word);
    isFirstWord = false;
  }
  return lines + line + "\n";
}

std::string quoted(const std::string& text) {
  return '"' + readable(text) + '"';
}

std::string countOf(std::size_t number, const std::string& noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

std::string speedOf(const Explanation& explanation) {
  return explanation.isSpeedInferred ? inferredSpeedWords(explanation.descriptors)
                                     : readable(speedWords(explanation.speed));
}

std::string idsOf(const DescriptorListing& descriptors) {
  if (!descriptors.vendor || !descriptors.product) {
    return "????:????";
  }
  return hexadecimal(*descriptors.vendor) + ":" + hexadecimal(*descriptors.product);
}

bool isIsochronous(const Endpoint& endpoint) {
  return endpoint.attributes && (*endpoint.attributes & transferTypeBits) == isochronousTransfer;
}

std::string interfaceLine(const Interface& interface) {
  std::string line = interfaceWords(interface) + ": " + interfaceClassWords(interface);
  for (const Endpoint& endpoint : interface.endpoints) {
    line += isIsochronous(endpoint) ? ", " + endpointWords(endpoint) : "";
  }
  return line;
}

// The interfaces of several configurations are numbered anew in each.
std::string interfacesOf(const DescriptorListing& descriptors) {
  const bool areSeveral = descriptors.configurations > 1;
  std::optional<std::uint8_t> configuration;
  std::string text;
  for (const Interface& interface : descriptors.interfaces) {
    if (areSeveral && interface.configuration && interface.configuration != configuration) {
      text += "    configuration " + std::to_string(*interface.configuration) + ":\n";
      configuration = interface.configuration;
    }
    text += paragraph(areSeveral ? 6 : 4, interfaceLine(interface));
  }
  return text;
}

std::string placeOf(const Explanation& explanation) {
  const bool isNamedOtherwise = !explanation.source.empty() && explanation.source != explanation.path;
  return readable(explanation.path) + (isNamedOtherwise ? " (" + readable(explanation.source) + ")" : "");
}

bool hasReadDescriptors(const RuleAnswer& answer) {
  using Verdict = RuleAnswer::Verdict;
  return answer.readsDescriptors && answer.verdict != Verdict::notAsked && answer.verdict != Verdict::failed;
}

std::string damageOf(const Explanation& explanation) {
  const std::string damage = damageWords(explanation.descriptors);
  if (damage.empty()) {
    return {};
  }
  const bool areJudged = std::ranges::any_of(explanation.rules, hasReadDescriptors);
  return paragraph(
      2, "Descriptors: damaged: " + readable(damage) + (areJudged ? "; the rules read as far as that" : ""));
}

std::string descriptionOf(const Explanation& explanation) {
  const DescriptorListing& descriptors = explanation.descriptors;
  std::string text = readable(explanation.name) + ": " + speedOf(explanation) + "\n";
  text += "  " + placeOf(explanation) + "\n";
  text += "  " + idsOf(descriptors) + ", " + countOf(descriptors.configurations, "configuration") + "\n";
  return text + interfacesOf(descriptors) + damageOf(explanation);
}

std::string kindLine(const KindAnswer& answer) {
  const std::string noun = answer.kind == "storage" ? "storage" : "a " + answer.kind;
  const bool isTaken = answer.isAsked() && answer.fits;
  const std::string line = (isTaken ? "" : "not ") + noun + ": ";
  if (answer.isAsked()) {
    return line + answer.reason;
  }
  if (answer.reason.empty()) {
    return line + answer.whyNotAsked;
  }
  return line + answer.whyNotAsked + (answer.fits ? "; else it would be: " : "; nor is it: ") + answer.reason;
}

std::string kindsOf(const Explanation& explanation) {
  const std::string word = kindWord(explanation.kind);
  std::string text = "  Kind: " + (word.empty() ? "not found out" : word) + "\n";
  for (const KindAnswer& answer : explanation.kinds) {
    text += paragraph(4, readable(kindLine(answer)));
  }
  return text;
}

std::string ruleLine(const RuleAnswer& answer) {
  const std::string line =
      answer.name + ": rule " + (answer.isOn ? "on" : "off") + " (" + answer.reason + ")";
  switch (answer.verdict) {
    case RuleAnswer::Verdict::passed:
      return line + ": nothing found, passed";
    case RuleAnswer::Verdict::refused:
      return line + ": " + answer.found + ": refused";
    case RuleAnswer::Verdict::refusedSilently:
      return line + ": " + answer.found + ": refused, without a line on the display";
    case RuleAnswer::Verdict::failed:
      return line + ": failed: " + answer.found;
    case RuleAnswer::Verdict::notAsked:
      break;
  }
  return answer.isOn ? line + ": not asked, since " + answer.whyNotAsked : line;
}

std::string rulesOf(const Explanation& explanation) {
  if (explanation.kind == DeviceKind::keyboard || explanation.kind == DeviceKind::storage) {
    return paragraph(2, "Rules: the policy does not concern it, since its class has a worker of its own");
  }
  if (explanation.rules.empty()) {
    return "  Rules: not asked\n";  // for a hub, and for what the daemon ignores
  }
  std::string text = "  Rules:\n";
  for (const RuleAnswer& answer : explanation.rules) {
    text += paragraph(4, readable(ruleLine(answer)));
  }
  return text;
}

// The exact line, however long.
std::string workerLine(const WorkerArguments& worker) {
  return readable(shellLine(worker));
}

std::string nodeText(const NodeAnswer& answer) {
  std::string text = "  Node " + readable(std::filesystem::path(answer.path).filename()) + ": " +
                     readable(answer.path) + "\n";
  if (!answer.isServed()) {
    return text + paragraph(4, "Worker: none: " + readable(answer.reason));
  }
  text += "    Display: " + quoted(answer.display) + "\n    Worker: " + workerLine(answer.worker) + "\n";
  return answer.atStart.empty() ? text : text + paragraph(4, "But " + readable(answer.atStart));
}

std::string nodesOf(const Explanation& explanation) {
  std::string text;
  for (const NodeAnswer& answer : explanation.nodes) {
    text += nodeText(answer);
  }
  return text;
}

std::string displayOf(const Explanation& explanation) {
  if (!explanation.display) {
    return "nothing";
  }
  const bool isAnnounced = explanation.kind == DeviceKind::generic && explanation.outcome == Outcome::served;
  return quoted(*explanation.display) +
         (isAnnounced ? "\n    (once link parameters have come by the control socket)" : "");
}

// Its nodes that are served although the device is not: the daemon asks no rule for a node.
std::vector<std::string> nodesServedAllTheSame(const Explanation& explanation) {
  std::vector<std::string> names;
  for (const NodeAnswer& answer : explanation.nodes) {
    if (explanation.outcome != Outcome::served && answer.isServed()) {
      names.push_back(std::filesystem::path(answer.path).filename());
    }
  }
  return names;
}

std::string exceptionOf(const Explanation& explanation) {
  const std::vector<std::string> nodes = nodesServedAllTheSame(explanation);
  std::string list;
  for (const std::string& node : nodes) {
    list += (list.empty() ? "" : ", ") + node;
  }
  if (nodes.empty()) {
    return {};
  }
  return nodes.size() == 1 ? "; but its node " + list + " is served"
                           : "; but its nodes " + list + " are served";
}

std::string verdictOf(const Explanation& explanation) {
  const std::string by = explanation.rule.empty() ? "" : " by " + explanation.rule;
  std::string text = paragraph(2, "Verdict: " + std::string(outcomeWord(explanation.outcome)) + by +
                                      readable(exceptionOf(explanation)));
  text += "  Display: " + displayOf(explanation) + "\n";
  return text + (explanation.worker.empty() ? paragraph(2, "Worker: none: " + readable(explanation.reason))
                                            : "  Worker: " + workerLine(explanation.worker) + "\n");
}

std::string classesOf(const Circumstances& circumstances) {
  std::string words;
  for (const ClassWord& known : classWords) {
    const bool isBit = known.classes == keyboardClass || known.classes == storageClass;
    if (isBit && enablesClass(circumstances.classes, known.classes)) {
      words += (words.empty() ? "" : ", ") + std::string(known.word);
    }
  }
  return words.empty() ? "none" : words;
}

// In at most `width` columns, of which a character of several bytes takes one.
std::string cut(const std::string& text, std::size_t width) {
  std::size_t taken = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool beginsCharacter = (static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80;
    if (beginsCharacter && taken++ == width) {
      return text.substr(0, i);
    }
  }
  return text;
}

std::string tableLine(const std::string& device, const std::string& speed, const std::string& kind,
                      const std::string& verdict, const std::string& name) {
  constexpr std::size_t nameWidth = 80 - 43;
  return ulx::formatString("%-15s %5s %-9s %-10s ", device.c_str(), speed.c_str(), kind.c_str(),
                           verdict.c_str()) +
         cut(name, nameWidth) + "\n";
}

}  // namespace

std::string headingOf(const Circumstances& circumstances) {
  return "Configuration: " + readable(configurationLine(circumstances)) + "\n" +
         "Link speed: " + readable(circumstances.linkSpeed) + ". Classes: " + classesOf(circumstances) +
         ".\n";
}

std::string tableOf(const std::vector<Explanation>& explanations) {
  std::string text = tableLine("Device", "Speed", "Kind", "Verdict", "Name");
  bool hasMark = false;
  for (const Explanation& explanation : explanations) {
    const std::string kind = kindWord(explanation.kind);
    const bool isMarked = !nodesServedAllTheSame(explanation).empty();
    text += tableLine(readable(std::filesystem::path(explanation.path).filename()),
                      readable(explanation.speed), kind.empty() ? "?" : kind,
                      outcomeWord(explanation.outcome) + std::string(isMarked ? "*" : ""),
                      readable(explanation.name));
    hasMark = hasMark || isMarked;
  }
  return hasMark ? text + "* but a node of it is served: see below\n" : text;
}

std::string textOf(const Explanation& explanation) {
  return descriptionOf(explanation) + kindsOf(explanation) + rulesOf(explanation) + nodesOf(explanation) +
         verdictOf(explanation);
}

}  // namespace explain
