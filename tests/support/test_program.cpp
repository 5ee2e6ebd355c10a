#include "support/test_program.h"
#include "shell/start_stop.h"
#include "shell/wiring.h"

#include <cstdio>
#include <sstream>

namespace quillon::test {

TestProgram::TestProgram() : tool(computer.AsComputer()) {
  Wire(tool);
  Form_Load(tool);
  tool.Text1.SetText("500");
  tool.Text2.SetText("10");
  tool.ComPort.SetText("COM 1");
  tool.Vitesse.SetText("9600");
  tool.Protocol.SetText("63");
  Tick({});
}

void TestProgram::Tick(std::initializer_list<int> controllers) {
  tool.NONE.Press();
  for (const int number : controllers) tool.C(number).SetValue(CheckBox::kTicked);
}

void TestProgram::ChooseHex(const std::vector<std::string>& lines, const std::string& name) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  computer.fileToChoose = Write(name, text);
  tool.Command1.Press();
}

void TestProgram::CancelAt(Nanoseconds time) {
  computer.At(time, [this] { tool.message.Command1.Press(); });
}

void TestProgram::CancelWhen(const std::string& statusPart) {
  computer.When(
      [this, statusPart] {
        return tool.message.Visible() && tool.message.Label1.Text().find(statusPart) != std::string::npos;
      },
      [this] { tool.message.Command1.Press(); });
}

std::string TestProgram::Row(int y) {
  const TextBox& version = tool.info.Ver(y);
  const TextBox& checksum = tool.info.CkSum(y);
  std::string row = version.Text() + " " + checksum.Text();
  if (version.ForeColor() == colour::kRed)
    row += version.FontBold() && checksum.FontBold() ? " red" : " thin red";
  if (checksum.ForeColor() == colour::kWhite && checksum.BackColor() == colour::kRed)
    row += checksum.FontBold() ? " marked" : " thinly marked";
  return row;
}

std::vector<int> TestProgram::BoxNumbers() const {
  const std::string start = "Error # ";
  std::vector<int> numbers;
  for (const ShownBox& box : computer.boxes) {
    numbers.push_back(box.text.starts_with(start) ? std::stoi(box.text.substr(start.size())) : 0);
  }
  return numbers;
}

std::string TestProgram::Settings(const Quillon& tool) {
  std::string boxes;
  for (int i = 0; i < kControllers; ++i) boxes += std::to_string(tool.C(i).Value());
  return tool.Text1.Text() + "|" + tool.ComPort.Text() + "|" + tool.Vitesse.Text() + "|" + boxes + "|" +
         tool.Text2.Text() + "|" + tool.Protocol.Text() + "|" + std::to_string(tool.ChkProto.Value()) +
         std::to_string(tool.RUD3.Value());
}

std::vector<std::string> TestProgram::EndAndReadLog() {
  tool.Close();
  std::istringstream text(Read("Log.txt"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line.substr(0, line.size() - 1));
  return lines;
}

std::vector<std::string> TestProgram::Sent() const {
  std::vector<std::string> frames;
  for (const SentBytes& frame : computer.sent)
    frames.push_back(std::to_string(frame.baud) + " " + ToHex(frame.bytes));
  return frames;
}

Bytes FromHex(const std::string& digits) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

std::string ToHex(const Bytes& bytes) {
  std::string digits;
  char pair[3];
  for (const std::uint8_t byte : bytes) {
    std::snprintf(pair, sizeof pair, "%02X", byte);
    digits += pair;
  }
  return digits;
}

std::string HexRecord(unsigned address, const Bytes& data, unsigned type) {
  Bytes record{static_cast<std::uint8_t>(data.size()), static_cast<std::uint8_t>(address >> 8),
               static_cast<std::uint8_t>(address), static_cast<std::uint8_t>(type)};
  record.insert(record.end(), data.begin(), data.end());
  unsigned sum = 0;
  for (const std::uint8_t byte : record) sum += byte;
  record.push_back(static_cast<std::uint8_t>(-sum));
  return std::string(":").append(ToHex(record));
}

}  // namespace quillon::test
