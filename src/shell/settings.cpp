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

/// Executes a step and ignores its failure.
void TrySilently(const std::function<void()>& step) {
  try {
    step();
  } catch (const RunError&) {
    // The control keeps its value, and the line read before replaces the one that is missing.
  }
}

}  // namespace

// The two procedures below are the file's format.

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
