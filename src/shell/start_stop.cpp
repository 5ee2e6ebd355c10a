#include <string>
#include <utility>

#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr int kPorts = 99;
constexpr const char* kStandardSpeed = "9600";  // bits per second

}  // namespace

std::string DownloadSpeed(const std::string& folder) {
  const std::string path = PathInFolder(folder, "Boot.ini");
  if (!FileExists(path)) return kStandardSpeed;
  try {
    const std::string text = ReadFile(path);
    LineReader lines(text);
    return lines.AtEnd() ? kStandardSpeed : std::string(lines.Next());
  } catch (const RunError&) {
    return kStandardSpeed;
  }
}

void Quillon::Start() {
  Form_Load();
  Show();
}

void Quillon::Form_Load() {
  DownloadSettings = DownloadSpeed(AppFolder) + ",N,8,2";
  SetCaption(" Quillon version " QUILLON_VERSION);
  for (int port = 1; port <= kPorts; ++port) ComPort.AddItem("COM " + std::to_string(port));
  for (const char* speed : kSpeeds) Vitesse.AddItem(speed);
  OpenLog();
  ReadConfig();
  Check1.SetValue(CheckBox::kTicked);
  StartLink();
}

void Quillon::Form_Unload() {
  if (std::exchange(ended_, true)) return;
  CloseLog();
  if (Check1.Ticked()) Try([this] { SaveConfig(); });
  MSComm1.SetPortOpen(false);
  message.Hide();
  info.Hide();
  Hide();
  events_.End();
}

}  // namespace quillon
