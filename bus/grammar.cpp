// Parses the values of the options that describe controllers, faults and physical causes. Two examples:
//
//     0-31,baud=4800/9600,protocol=64     controllers 0 to 31, at 4800 and 9600 bits per second in turn
//     3-4:code=E1/checksum@1-3%50         controllers 3 and 4 answer each of the first three requests to
//                                         confirm a checksum with the code $E1, with a probability of 50 %
//
// Each list of words is a table: the parser and the error texts use the same one. Errors name the wrong word
// and the valid ones. grammar.h describes each part of a value.
#include "bus/grammar.h"

#include <charconv>
#include <limits>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "bus/number.h"

namespace bus {
namespace {

std::vector<std::string> Split(const std::string& text, char mark) {
  std::vector<std::string> parts;
  std::istringstream rest(text);
  for (std::string part; std::getline(rest, part, mark);) parts.push_back(part);
  return parts;
}

/// Removes `mark` and everything after it from the text. Returns what followed the mark, if there is one.
std::optional<std::string> SplitOff(std::string& text, char mark) {
  const std::size_t at = text.find(mark);
  if (at == std::string::npos) return std::nullopt;
  const std::string cut = text.substr(at + 1);
  text.resize(at);
  return cut;
}

template <typename Value>
Value LookUp(const std::string& text, const std::map<std::string, Value>& words) {
  const auto word = words.find(text);
  if (word != words.end()) return word->second;
  std::string known;
  for (const auto& [name, value] : words) known += (known.empty() ? "" : ", ") + name;
  throw std::invalid_argument("\"" + text + "\" is not one of " + known);
}

struct Range {
  int first;
  int last;
};

/// "7" or "3-7".
Range ReadRange(const std::string& text, int low, int high) {
  const std::size_t dash = text.find('-');
  const int first = ReadNumber(text.substr(0, dash), low, high);
  return {first, dash == std::string::npos ? first : ReadNumber(text.substr(dash + 1), first, high)};
}

/// "2", "2-4" or "2-".
Range ReadMessageRange(const std::string& text) {
  constexpr int kMost = std::numeric_limits<int>::max();
  if (text.ends_with('-')) return {ReadNumber(text.substr(0, text.size() - 1), 1, kMost), Fault::kForever};
  return ReadRange(text, 1, kMost);
}

std::array<std::uint8_t, 3> ReadVersion(const std::string& text) {
  if (text.size() != 6) throw std::invalid_argument("\"" + text + "\" is not six hexadecimal digits");
  const auto byte = [&text](std::size_t at) {
    return ReadNumber<std::uint8_t>(text.substr(at, 2), 0, 0xFF, 16);
  };
  return {byte(0), byte(2), byte(4)};
}

/// Controllers that differ only in number and speed.
struct ControllerGroup {
  ControllerSetup setup;
  std::vector<int> speeds = {setup.baud};
};

void ReadSpeeds(ControllerGroup& group, const std::string& value) {
  group.speeds.clear();
  for (const std::string& speed : Split(value, '/'))
    group.speeds.push_back(ReadNumber(speed, 1, kHighestSpeed));
  if (group.speeds.empty()) throw std::invalid_argument("baud needs a speed, or several with / between them");
}

const std::map<std::string, AnswerForm> kForms = {{"13", AnswerForm::Bytes13}, {"14", AnswerForm::Bytes14}};
const std::map<std::string, BootProtocol> kBootProtocols = {
    {"either", BootProtocol::Either}, {"own", BootProtocol::Own}, {"64", BootProtocol::Fixed}};
const std::map<std::string, Metadata> kMetadataPlaces = {{"find", Metadata::Find},
                                                         {"2020", Metadata::At2020},
                                                         {"008B", Metadata::At008B},
                                                         {"none", Metadata::None}};

/// Parses the value of a key and stores it in the setup.
using ReadValue = void (*)(ControllerGroup& group, const std::string& value);

const std::map<std::string, ReadValue> kControllerKeys = {
    {"baud", ReadSpeeds},
    {"protocol",
     [](auto& group, auto& value) { group.setup.protocol = ReadNumber<std::uint8_t>(value, 0, 0xFF); }},
    {"version", [](auto& group, auto& value) { group.setup.version = ReadVersion(value); }},
    {"boot", [](auto& group, auto& value) { group.setup.bootVersion = ReadVersion(value); }},
    {"bootsum",
     [](auto& group, auto& value) {
       group.setup.bootChecksum = ReadNumber<std::uint16_t>(value, 0, 0xFFFF, 16);
     }},
    {"form", [](auto& group, auto& value) { group.setup.form = LookUp(value, kForms); }},
    {"bootprotocol",
     [](auto& group, auto& value) { group.setup.bootProtocol = LookUp(value, kBootProtocols); }},
    {"metadata", [](auto& group, auto& value) { group.setup.metadata = LookUp(value, kMetadataPlaces); }},
    {"protocol3", [](auto& group, auto& value) { group.setup.protocol3 = ReadNumber(value, 0, 1) == 1; }},
};

/// "lost-batch" is short for "silent/batch"; ReadFault adds the command.
const std::map<std::string, Fault::Kind> kFaultKinds = {
    {"silent", Fault::Kind::Silent},   {"dead", Fault::Kind::Dead}, {"late", Fault::Kind::Late},
    {"corrupt", Fault::Kind::Corrupt}, {"code", Fault::Kind::Code}, {"length", Fault::Kind::Length},
    {"short", Fault::Kind::Short},     {"echo", Fault::Kind::Echo}, {"lost-batch", Fault::Kind::Silent}};

const std::map<std::string, Command> kCommands = {
    {"check", Command::Check},     {"erase", Command::Erase},
    {"batch", Command::Batch},     {"checksum", Command::Checksum},
    {"boot", Command::Boot},       {"55", Command::ToProtocol3},  // the command byte $55
    {"text", Command::ToProtocol4}};                              // the text frame, which has no command byte

void ReadFaultValue(Fault& fault, const std::string& value) {
  switch (fault.kind) {
    case Fault::Kind::Late:
      fault.delay = std::chrono::milliseconds(ReadNumber(value, 1, kLongestWait));
      return;
    case Fault::Kind::Code:
      fault.value = ReadNumber(value, 0, 0xFF, 16);
      return;
    case Fault::Kind::Length:
      fault.value = ReadNumber(value, kShortestFrame, kLongestFrame);
      return;
    case Fault::Kind::Short:
      fault.value = value.empty() ? 1 : ReadNumber(value, 1, kLongestFrame);
      return;
    default:
      if (!value.empty()) throw std::invalid_argument("this kind takes no value");
  }
}

}  // namespace

Share ReadShare(const std::string& text) {
  std::string numbers = text;
  const std::string percent = SplitOff(numbers, ',').value_or("");
  const Range range = ReadRange(numbers, 0, kControllerNumbers - 1);
  const char* end = percent.data() + percent.size();
  double value = 0;
  const auto [stopped, error] = std::from_chars(percent.data(), end, value, std::chars_format::fixed);
  if (error != std::errc{} || stopped != end || !(value > 0 && value <= 100))
    throw std::invalid_argument("\"" + text +
                                "\" is not NUMBERS,PERCENT with a percentage above 0, at most 100");
  return {range.first, range.last, value / 100};
}

std::vector<ControllerSetup> ReadControllers(const std::string& text) {
  const std::size_t comma = text.find(',');
  const Range numbers = ReadRange(text.substr(0, comma), 0, kControllerNumbers - 1);
  ControllerGroup group;
  const std::string keys = comma == std::string::npos ? "" : text.substr(comma + 1);
  for (const std::string& key : Split(keys, ',')) {
    const std::size_t equals = key.find('=');
    const ReadValue read = LookUp(key.substr(0, equals), kControllerKeys);
    read(group, equals == std::string::npos ? "" : key.substr(equals + 1));
  }
  std::vector<ControllerSetup> controllers;
  for (int number = numbers.first; number <= numbers.last; ++number) {
    group.setup.number = number;
    group.setup.baud = group.speeds[controllers.size() % group.speeds.size()];
    controllers.push_back(group.setup);
  }
  return controllers;
}

FaultOption ReadFault(const std::string& text) {
  // Splits off the last part first. A mark never occurs in the parts before its own, so the first occurrence
  // is the right one.
  std::string rest = text;
  const std::optional<std::string> chance = SplitOff(rest, '%');
  const std::optional<std::string> messages = SplitOff(rest, '@');
  const std::optional<std::string> command = SplitOff(rest, '/');
  const std::optional<std::string> value = SplitOff(rest, '=');
  const std::optional<std::string> kind = SplitOff(rest, ':');
  if (!kind)
    throw std::invalid_argument("\"" + text +
                                "\" is not N:KIND[=VALUE][/COMMAND][@FIRST[-[LAST]]][%PERCENT]");
  const Range numbers = ReadRange(rest, 0, kControllerNumbers - 1);
  Fault fault;
  fault.kind = LookUp(*kind, kFaultKinds);
  ReadFaultValue(fault, value.value_or(""));
  if (*kind == "lost-batch") fault.command = Command::Batch;
  if (command) fault.command = LookUp(*command, kCommands);
  if (messages) {
    const Range range = ReadMessageRange(*messages);
    fault.first = range.first;
    fault.last = range.last;
  }
  if (chance) fault.chance = ReadNumber(*chance, 1, 100) / 100.0;
  return {numbers.first, numbers.last, fault};
}

}  // namespace bus
