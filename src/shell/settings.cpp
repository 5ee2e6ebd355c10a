// Reads and writes the settings of the main window, the file "Quillon.cfg". It has one value on each of its
// 39 lines, in a fixed order. A check box is " 1 " if it is ticked, else " 0 ":
//
//     3000         line 1: time-out in milliseconds (`Text1`)
//     COM 33       line 2: port
//     9600         line 3: speed (`Vitesse`)
//      1           lines 4 to 35: the boxes of controllers 0 to 31 (`C`)
//     170          line 36: delay after a batch in milliseconds (`Text2`)
//     63           line 37: protocol
//      0           lines 38 and 39: "All Controllers same protocol" (`ChkProto`) and "Prot 3" (`RUD3`)
#include "shell/settings.h"

#include <functional>
#include <string>

#include "platform/conversions.h"
#include "platform/run_error.h"
#include "platform/text_file.h"

namespace quillon {
namespace {

constexpr const char* kFile = "Quillon.cfg";
constexpr std::string_view kLineEnd = "\r\n";

std::string BoxLine(const CheckBox& box) {
  return std::string(" ").append(std::to_string(box.Value())).append(" ");
}

void SetBox(CheckBox& box, const std::string& line) { box.SetValue(ToInteger(line, box.Name())); }

/// Executes a step of reading. A missing or damaged file must not prevent the start of the program.
void TrySilently(const std::function<void()>& step) {
  try {
    step();
  } catch (const RunError&) {
    // A control keeps its value if its line is not valid. If its line is missing, the line before is used.
  }
}

}  // namespace

void SaveConfig(Quillon& form) {
  std::string text;
  const auto write = [&text](const std::string& line) { text.append(line).append(kLineEnd); };
  write(form.Text1.Text());
  write(form.ComPort.Text());
  write(form.Vitesse.Text());
  for (int i = 0; i < kControllers; ++i) write(BoxLine(form.C(i)));
  write(form.Text2.Text());
  write(form.Protocol.Text());
  write(BoxLine(form.ChkProto));
  write(BoxLine(form.RUD3));
  ReplaceFile(PathInFolder(form.AppFolder, kFile), text);
}

void ReadConfig(Quillon& form) {
  LineReader lines{std::string_view()};
  TrySilently([&] { lines = LineReader::OfFile(PathInFolder(form.AppFolder, kFile)); });
  std::string line;
  const auto read = [&](const std::function<void()>& set) {
    TrySilently([&] { line = lines.Next(); });
    TrySilently(set);
  };
  read([&] { form.Text1.SetText(line); });
  read([&] { form.ComPort.SetText(line); });
  read([&] { form.Vitesse.SetText(line); });
  for (int i = 0; i < kControllers; ++i) read([&] { SetBox(form.C(i), line); });
  read([&] { form.Text2.SetText(line); });
  read([&] { form.Protocol.SetText(line); });
  read([&] { SetBox(form.ChkProto, line); });
  read([&] { SetBox(form.RUD3, line); });
  if (form.ChkProto.Ticked()) form.ChkProto.SetVisible(true);
}

}  // namespace quillon
