#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "forms/image_facts.h"
#include "forms/info.h"
#include "forms/message.h"
#include "forms/run_control.h"
#include "forms/run_events.h"
#include "platform/computer.h"
#include "platform/controls.h"
#include "platform/form.h"
#include "platform/serial_control.h"
#include "platform/text_file.h"

namespace quillon {

inline constexpr int kControllers = 32;  ///< numbers 0 to 31

/// The speeds of the line in bits per second, ascending: for the list `Vitesse` and the speed search.
inline constexpr const char* kSpeeds[] = {"4800", "9600", "19200", "38400"};

/// The main window, and the whole state of the program: its controls are the settings, and the variables
/// below them are shared by all procedures. The procedures are free functions that receive this form; only
/// the small handlers of its own controls are methods. One object is one program.
class Quillon final : public Form {
 public:
  /// Creates the controls. Start (shell/start_stop.h) reads files, connects events and shows the window.
  explicit Quillon(const Computer& computer);

  // Controls, in the order of the Tab key: the left part from top to bottom, then the column on the right.
  // Their names are fixed. A label is the caption of the control that follows it.

  // Controls: the choice of a file.
  Label Label3{*this, "Label3", {360, 480, 1245, 195}, {.text = "File to download :"}};
  /// The path of the firmware file.
  TextBox FileName{
      *this, "FileName", {360, 765, 3015, 300}, {.readOnly = true, .accessibleName = "File to download"}};
  /// Opens the file dialog.
  CommandButton Command1{*this, "Command1", {3480, 765, 1455, 300}, {.text = "&Browse ..."}};
  Label Label4{*this, "Label4", {360, 1200, 945, 195}, {.text = "File Cheksum"}};
  /// The last four digits of the file's checksum; empty: no file. Spelled so on purpose.
  TextBox FileCheksum{
      *this,
      "FileCheksum",
      {360, 1440, 1335, 300},
      {.enabled = false, .readOnly = true, .centred = true, .accessibleName = "File Cheksum"}};
  /// Shown if the file is damaged or was chosen during a run; the tool tip contains the reason.
  Picture FileWarning{*this,
                      "FileWarning",
                      {1750, 1470, 240, 240},
                      {.visible = false, .accessibleName = "Warning about the file", .picture = "warning"}};
  /// Keeps the speed while programming: the erase frame then contains the byte BB.
  CheckBox useBB{*this,
                 "useBB",
                 {2040, 1493, 5295, 195},
                 {.text = "Keep the existing baud rate for firmware download (ORVA only)", .enabled = false}};

  // Controls: the buttons that change the protocol of controllers. Visible while `RUD3` is ticked.
  CommandButton Cmd3to4{
      *this, "Cmd3to4", {5760, 120, 855, 255}, {.text = "3 -> 4", .visible = false, .startsRun = true}};
  CommandButton Cmd4to3{
      *this, "Cmd4to3", {5760, 480, 855, 255}, {.text = "4 -> 3", .visible = false, .startsRun = true}};

  // Controls: the line and the controllers, in their frame.
  Frame Frame1{*this, "Frame1", {120, 2280, 7815, 2655}, {.text = "  Controllers Selection  "}};
  ControlArray<Label> Label39;  ///< the captions whose place is not beside their control
  /// The time-out for the first byte of an answer, in milliseconds.
  TextBox Text1{Frame1, "Text1", {300, 495, 615, 285}, {.centred = true, .accessibleName = "Time Out"}};
  /// The delay after each batch of a parallel download, in milliseconds.
  TextBox Text2{
      Frame1, "Text2", {1575, 495, 615, 285}, {.centred = true, .accessibleName = "Parallel Waiting Delay"}};
  Label Label5{Frame1, "Label5", {3240, 240, 1215, 195}, {.text = "Com Port:"}};
  /// The serial port, such as "COM 7".
  ComboBox ComPort{Frame1, "ComPort", {3240, 480, 1215, 315}, {.accessibleName = "Com Port"}};
  Label Label17{Frame1, "Label17", {4560, 240, 1335, 195}, {.text = "Speed:"}};
  /// French, "speed": that of the line, in bits per second. The speed search changes it.
  ComboBox Vitesse{Frame1, "Vitesse", {4560, 480, 1335, 315}, {.accessibleName = "Speed"}};
  /// The protocol byte of frames, less one.
  TextBox Protocol{
      Frame1, "Protocol", {6120, 480, 615, 285}, {.centred = true, .accessibleName = "Protocol"}};
  /// The controllers are on protocol 3, named RUD3: a download changes each to protocol 4 before its check.
  CheckBox RUD3{Frame1, "RUD3", {6840, 360, 855, 255}, {.text = "Prot 3"}};
  /// These three tick controllers: all, none, or those that answer (auto_detection.h).
  CommandButton ALL{Frame1, "ALL", {240, 1080, 615, 375}, {.text = "All"}};
  CommandButton NONE{Frame1, "NONE", {240, 1560, 615, 375}, {.text = "None"}};
  CommandButton Auto{
      Frame1, "Auto", {240, 2025, 615, 375}, {.text = "Auto", .enabled = false, .startsRun = true}};
  /// The check boxes of controllers 0 to 31. The ticked ones take part in a run.
  ControlArray<CheckBox> C;

  /// Saved with the settings, without any other effect. Hidden until Shift+F12 is pressed.
  CheckBox ChkProto{*this,
                    "ChkProto",
                    {2640, 5025, 2655, 255},
                    {.text = "All Controllers same protocol", .visible = false}};
  /// Whether the settings are saved when the program ends.
  CheckBox Check1{*this, "Check1", {5505, 5025, 2415, 255}, {.text = "Save configuration on exit"}};

  // Controls: the buttons of the workflows, and `ComClose`, which ends the program.
  CommandButton ComLoad{
      *this,
      "ComLoad",
      {7800, 120, 1335, 1215},
      {.text = "&Download (Parallel)", .enabled = false, .picture = "download", .startsRun = true}};
  CommandButton ComLoad00{*this,
                          "ComLoad00",
                          {8040, 1440, 1095, 855},
                          {.text = "Download (Serial)", .enabled = false, .startsRun = true}};
  CommandButton ComInfo{
      *this,
      "ComInfo",
      {8040, 2400, 1095, 855},
      {.text = "&Flash Info", .enabled = false, .picture = "flash-info", .startsRun = true}};
  CommandButton ComBoot{*this,
                        "ComBoot",
                        {8040, 3360, 1095, 855},
                        {.text = "&Boot Info", .enabled = false, .picture = "boot-info", .startsRun = true}};
  CommandButton ComClose{*this, "ComClose", {8040, 4320, 1095, 855}, {.text = "&Exit", .picture = "exit"}};

  SerialControl MSComm1;  ///< the serial port; opened by each run and closed at its end
  Info info;              ///< the table window: version and checksum of each controller
  Message message;        ///< the progress window, with Cancel

  // Shared variables.
  bool AbortRequested = false;        ///< the operator cancelled the run
  double AnswerDelay = 0;             ///< seconds from the first byte of an answer to its reading
  std::string AppFolder;              ///< the program's folder; ends with a separator
  std::string DownloadSettings;       ///< of the line while programming, such as "9600,N,8,2"
  int CurrentController = 0;          ///< the number that a run processes
  Bytes FrameBuffer;                  ///< the current message's frame
  std::string AnswerText;             ///< the last checked answer, as hex digits
  bool BootProtocolFallback = false;  ///< Boot Info always sends protocol byte 0x40

  ImageFacts image;                  ///< metadata of the file; AnalyseHexFile fills it
  std::string fileFault;             ///< the first fault in the file; empty: none
  bool fileBeingRead = false;        ///< FileName_Change is being executed
  bool chosenInRun = false;          ///< the file was chosen during a run; the next run clears it
  std::deque<CheckBox> triedSpeeds;  ///< `V4800` to `V38400`, never shown; ticked: tried
  RunControl run;                    ///< executes one run at a time
  bool ended = false;                ///< Form_Unload was executed
  TextWriter log;                    ///< "Log.txt"

  std::vector<RunObserver*> observers;  ///< receive the run events; initially none

  // Interfaces to the computer.
  Clock& clock;
  Events& events;
  Dialogs& dialogs;

  /// The protocol byte: the number in `Protocol` plus one. Raises RunError 13 or 6 unless that is 0 to 254.
  std::uint8_t ProtocolNumber() const;

  /// Sends a run event to the observers. `what` is one of the alternatives of RunEvent.
  template <class What>
  void Report(What&& what) {
    if (observers.empty()) return;
    const RunEvent event{clock.Now(), std::forward<What>(what)};
    for (RunObserver* observer : observers) observer->OnRunEvent(event);
  }

  /// Enables or disables both download buttons.
  void EnableDownloads(bool enabled);

  // The handlers of the form's own controls.
  void Form_KeyUp(Key key, bool shiftHeld);
  void Protocol_Change();
  void RUD3_Click();
  void ALL_Click();
  void NONE_Click();
  void ComClose_Click();
  void MessageCommand1_Click();

 private:
  void AddFrameLabels();
  void AddControllerBoxes();
  void AddTriedSpeedBoxes();

  ControlArray<Label> numbers_;
};

/// Reports that a phase of a controller begins, and at the end of the scope that it has ended.
class PhaseScope {
 public:
  PhaseScope(Quillon& form, int controller, Phase phase)
      : form_(form), controller_(controller), phase_(phase) {
    form_.Report(ControllerBegun{controller_, phase_});
  }
  PhaseScope(const PhaseScope&) = delete;
  PhaseScope& operator=(const PhaseScope&) = delete;
  ~PhaseScope() { form_.Report(ControllerEnded{controller_, phase_}); }

 private:
  Quillon& form_;
  int controller_;
  Phase phase_;
};

}  // namespace quillon
