// The start and the end of the program.
//
// The line speaks 8 data bits, no parity, 2 stop bits: ",N,8,2" in the settings of the serial control. The
// programming phase has a speed of its own, since an erased controller waits at the speed of its boot code.
#include "shell/start_stop.h"

#include <utility>

#include "forms/run_error_box.h"
#include "link/exchange.h"
#include "link/log.h"
#include "platform/run_error.h"
#include "shell/settings.h"
#include "shell/wiring.h"

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

void Start(Quillon& form) {
  Wire(form);
  Form_Load(form);
  form.Show();
}

void Form_Load(Quillon& form) {
  form.DownloadSettings = DownloadSpeed(form.AppFolder) + ",N,8,2";
  form.SetCaption(" Quillon version " QUILLON_VERSION);
  for (int port = 1; port <= kPorts; ++port) form.ComPort.AddItem("COM " + std::to_string(port));
  for (const char* speed : kSpeeds) form.Vitesse.AddItem(speed);
  OpenLog(form);
  ReadConfig(form);
  form.Check1.SetValue(CheckBox::kTicked);
  StartLink(form);
}

void Form_Unload(Quillon& form) {
  if (std::exchange(form.ended, true)) return;
  CloseLog(form);
  if (form.Check1.Ticked()) Try(form, [&] { SaveConfig(form); });
  form.MSComm1.SetPortOpen(false);
  form.message.Hide();
  form.info.Hide();
  form.Hide();
  form.events.End();
}

}  // namespace quillon
