// The start and the end of the program.
//
// The line has two speeds. Messages use the speed in the list `Vitesse`. The batches of an image use the
// download speed, since an erased controller executes its boot code, which has a speed of its own. The
// optional file "Boot.ini" contains that speed in its first line. The settings of the port `MSComm1`, such as
// "9600,N,8,2", are speed, no parity, 8 data bits and 2 stop bits. `Check1` is "Save configuration on exit".
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

constexpr int kHighestPort = 99;                // of the list "COM 1" to "COM 99"
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
  for (int port = 1; port <= kHighestPort; ++port) form.ComPort.AddItem("COM " + std::to_string(port));
  for (const char* speed : kSpeeds) form.Vitesse.AddItem(speed);
  OpenLog(form);
  ReadConfig(form);
  form.Check1.SetValue(CheckBox::kTicked);  // not one of the settings: ticked at each start
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
