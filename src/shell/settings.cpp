#include <functional>
#include <string>

#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr const char* kFile = "Quillon.cfg";
constexpr std::string_view kLineEnd = "\r\n";

std::string BoxLine(const CheckBox& box) {
  return std::string(" ").append(std::to_string(box.Value())).append(" ");
}

void SetBox(CheckBox& box, const std::string& line) { box.SetValue(ToInteger(line, box.Name())); }

/// Of a damaged file all that is good is taken: a step that fails is skipped without a word, and the next one
/// is taken.
void TrySilently(const std::function<void()>& step) {
  try {
    step();
  } catch (const RunError&) {
    // The control keeps what it had, and the text read last stands for the line that is missing.
  }
}

}  // namespace

// The two procedures below are the file's format: 39 lines that are known by their place alone.

void Quillon::SaveConfig() {
  std::string text;
  const auto write = [&text](const std::string& line) { text.append(line).append(kLineEnd); };
  write(Text1.Text());
  write(ComPort.Text());
  write(Vitesse.Text());
  for (int i = 0; i < kControllers; ++i) write(BoxLine(C(i)));
  write(Text2.Text());
  write(Protocol.Text());
  write(BoxLine(ChkProto));
  write(BoxLine(RUD3));
  ReplaceFile(PathInFolder(AppFolder, kFile), text);
}

void Quillon::ReadConfig() {
  std::string text;
  TrySilently([&] { text = ReadFile(PathInFolder(AppFolder, kFile)); });
  LineReader lines(text);
  std::string line;
  const auto read = [&](const std::function<void()>& set) {
    TrySilently([&] { line = lines.Next(); });
    TrySilently(set);
  };
  read([&] { Text1.SetText(line); });
  read([&] { ComPort.SetText(line); });
  read([&] { Vitesse.SetText(line); });
  for (int i = 0; i < kControllers; ++i) read([&] { SetBox(C(i), line); });
  read([&] { Text2.SetText(line); });
  read([&] { Protocol.SetText(line); });
  read([&] { SetBox(ChkProto, line); });
  read([&] { SetBox(RUD3, line); });
  if (ChkProto.Ticked()) ChkProto.SetVisible(true);
}

}  // namespace quillon
