#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "platform/computer.h"
#include "platform/controls.h"
#include "platform/serial_control.h"
#include "platform/text_file.h"
#include "shell/image_facts.h"
#include "shell/info.h"
#include "shell/message.h"

namespace quillon {

inline constexpr int kControllers = 32;  ///< numbers 0 to 31

/// The speeds of the line in bits per second, from the lowest up. The list of `Vitesse`, the boxes of the
/// tried speeds and the speed search all follow this one.
inline constexpr const char* kSpeeds[] = {"4800", "9600", "19200", "38400"};

/// The speed while programming: the first line of "Boot.ini" in `folder` as it stands, or the standard speed
/// when there is no such file, or an empty or unreadable one.
std::string DownloadSpeed(const std::string& folder);

enum class ExchangeResult;  // link/exchange.h
enum class ShortAnswer;
enum class Wait;
enum class FailureCode;  // link/outcome.h
enum class StatusForm;
struct FlashFacts;  // commands/flash_answer.h

/// What a run does when one of its steps fails at run time.
enum class OnFailure {
  kEndRun,  ///< the failure ends the run, which shows it
  kGoOn,    ///< the box shows the failure, and the next step is taken
};

/// How the speed search goes about a controller.
struct Search {
  OnFailure onFailure = OnFailure::kEndRun;                      ///< of the change of speed
  enum class Takers { kTicked, kAny } takers = Takers::kTicked;  ///< kTicked: nobody after Cancel
  enum class Row { kMarked, kKept } rowBetweenSpeeds = Row::kMarked;
};

/// What a run-error box says beside the failure itself.
struct BoxWording {
  std::string title = "Quillon Error";
  std::string addition = "";  ///< follows the description
};

/// The main window, and with it the whole program: its controls are the settings, its methods the commands
/// and the workflows, each defined in the folder that its section names. One object is one program.
class Quillon final : public Form {
 public:
  /// A program at rest, with nothing read and nothing shown.
  explicit Quillon(const Computer& computer);

  /// Loads the settings and shows the main window. From here on clicks drive everything.
  void Start();

  // Controls, in the order of the Tab key: the left part from top to bottom, then the column on the right.

  // Controls: the choice of a file.
  Label Label3{*this, "Label3", {360, 480, 1245, 195}, {.text = "File to download :"}};
  TextBox FileName{
      *this, "FileName", {360, 765, 3015, 300}, {.readOnly = true, .accessibleName = "File to download"}};
  CommandButton Command1{*this, "Command1", {3480, 765, 1455, 300}, {.text = "&Browse ..."}};
  Label Label4{*this, "Label4", {360, 1200, 945, 195}, {.text = "File Cheksum"}};
  TextBox FileCheksum{
      *this,
      "FileCheksum",
      {360, 1440, 1335, 300},
      {.enabled = false, .readOnly = true, .centred = true, .accessibleName = "File Cheksum"}};
  Picture FileWarning{*this,
                      "FileWarning",
                      {1750, 1470, 240, 240},
                      {.visible = false, .accessibleName = "Warning about the file", .picture = "warning"}};
  CheckBox useBB{*this,
                 "useBB",
                 {2040, 1493, 5295, 195},
                 {.text = "Keep the existing baud rate for firmware download (ORVA only)", .enabled = false}};

  // Controls: the protocol switches.
  CommandButton Cmd3to4{*this, "Cmd3to4", {5760, 120, 855, 255}, {.text = "3 -> 4", .visible = false}};
  CommandButton Cmd4to3{*this, "Cmd4to3", {5760, 480, 855, 255}, {.text = "4 -> 3", .visible = false}};

  // Controls: the line and the controllers, in their frame.
  Frame Frame1{*this, "Frame1", {120, 2280, 7815, 2655}, {.text = "  Controllers Selection  "}};
  ControlArray<Label> Label39;
  /// Time-out of an exchange, in milliseconds.
  TextBox Text1{Frame1, "Text1", {300, 495, 615, 285}, {.centred = true, .accessibleName = "Time Out"}};
  /// Delay after each batch of a parallel download, in milliseconds.
  TextBox Text2{
      Frame1, "Text2", {1575, 495, 615, 285}, {.centred = true, .accessibleName = "Parallel Waiting Delay"}};
  Label Label5{Frame1, "Label5", {3240, 240, 1215, 195}, {.text = "Com Port:"}};
  ComboBox ComPort{Frame1, "ComPort", {3240, 480, 1215, 315}, {.accessibleName = "Com Port"}};
  Label Label17{Frame1, "Label17", {4560, 240, 1335, 195}, {.text = "Speed:"}};
  /// The line's speed in bits per second; the speed search writes it.
  ComboBox Vitesse{Frame1, "Vitesse", {4560, 480, 1335, 315}, {.accessibleName = "Speed"}};
  /// One less than the protocol byte.
  TextBox Protocol{
      Frame1, "Protocol", {6120, 480, 615, 285}, {.centred = true, .accessibleName = "Protocol"}};
  /// Controllers still on protocol 3.
  CheckBox RUD3{Frame1, "RUD3", {6840, 360, 855, 255}, {.text = "Prot 3"}};
  CommandButton ALL{Frame1, "ALL", {240, 1080, 615, 375}, {.text = "All"}};
  CommandButton NONE{Frame1, "NONE", {240, 1560, 615, 375}, {.text = "None"}};
  CommandButton Auto{Frame1, "Auto", {240, 2025, 615, 375}, {.text = "Auto", .enabled = false}};
  /// Which controllers take part, by number.
  ControlArray<CheckBox> C;

  CheckBox ChkProto{*this,
                    "ChkProto",
                    {2640, 5025, 2655, 255},
                    {.text = "All Controllers same protocol", .visible = false}};
  CheckBox Check1{*this, "Check1", {5505, 5025, 2415, 255}, {.text = "Save configuration on exit"}};

  // Controls: the buttons of the workflows.
  CommandButton ComLoad{*this,
                        "ComLoad",
                        {7800, 120, 1335, 1215},
                        {.text = "&Download (Parallel)", .enabled = false, .picture = "download"}};
  CommandButton ComLoad00{
      *this, "ComLoad00", {8040, 1440, 1095, 855}, {.text = "Download (Serial)", .enabled = false}};
  CommandButton ComInfo{*this,
                        "ComInfo",
                        {8040, 2400, 1095, 855},
                        {.text = "&Flash Info", .enabled = false, .picture = "flash-info"}};
  CommandButton ComBoot{*this,
                        "ComBoot",
                        {8040, 3360, 1095, 855},
                        {.text = "&Boot Info", .enabled = false, .picture = "boot-info"}};
  CommandButton ComClose{*this, "ComClose", {8040, 4320, 1095, 855}, {.text = "&Exit", .picture = "exit"}};

  SerialControl MSComm1;
  Info info;
  Message message;

  // Shared variables.
  bool AbortRequested = false;        ///< the operator cancelled the run
  double AnswerDelay = 0;             ///< seconds from the first byte of an answer to its reading
  std::string AppFolder;              ///< the program's folder; ends with a separator
  std::string DownloadSettings;       ///< line settings of the programming phase
  int CurrentController = 0;          ///< loop variable of the workflows
  Bytes FrameBuffer;                  ///< the current message's frame
  std::string AnswerText;             ///< the last checked answer, as hex digits
  bool BootProtocolFallback = false;  ///< Boot Info sends protocol byte 0x40 from now on

  ImageFacts image;  ///< what the firmware file says about itself; AnalyseHexFile fills it

  /// The protocol byte: the number in `Protocol` plus one. Raises RunError 13 or 6 when the box holds no
  /// number from 0 to 254.
  std::uint8_t ProtocolNumber() const;

  // Shell: start, stop, settings and the small handlers.
  void Form_Load();
  void Form_Unload();
  void Form_KeyUp(Key key, bool shiftHeld);
  void ReadConfig();
  void SaveConfig();
  void Protocol_Change();
  void RUD3_Click();
  void ALL_Click();
  void NONE_Click();
  void Command1_Click();
  void ComClose_Click();
  void MessageCommand1_Click();

  /// One pass through the windows' events. Every wait comes through here: when the main window was closed
  /// meanwhile, it unwinds the current run.
  void Yield();
  /// The same, after a sleep until there is something to look at: an event, a received byte, or `time`.
  void YieldUntil(double time);

  /// Takes a step. When it fails at run time the run-error box shows the failure, and the caller goes on with
  /// its next step; a whole workflow taken as one step thus ends at its first failure. True: it did not fail.
  bool Try(const std::function<void()>& step, const BoxWording& wording = {});

  // Link: the exchange (exchange.cpp).

  /// Sends one closed frame and waits for its answer, up to three times.
  ///
  /// The time-out is read from `Text1` (milliseconds) once per call. Yields while it waits for the first
  /// byte, then pauses `AnswerDelay` and reads all that came: that pause is the end of an answer. A full echo
  /// of the frame restarts the wait.
  ///
  /// A send costs the time to the first byte, or the time-out, and the pause.
  ///
  /// kAnswered: `answer` holds the answer's hex digits; the short answer 68 2F leaves it as it was.
  /// kNoAnswer, kBadAnswer: the third send failed so, or the operator cancelled. Logs each answer and the
  /// result, but nothing on Cancel. Raises RunError when the port fails or `Text1` is no number; `answer` is
  /// then as it was.
  ExchangeResult SendFrame(const Bytes& frame, std::string& answer, ShortAnswer shortAnswer);

  /// Drops all received bytes that wait.
  void FlushInput();

  // Link: outcome reporting (outcome.cpp).

  /// Shows how an exchange with controller `y` ended. kNone empties its row. The others show a status line
  /// for two seconds, then red words in the row. Raises RunError 9 for a `y` outside 0 to 31.
  void ReportFailure(int y, FailureCode code);

  /// Shows a status line on `Message` and goes on.
  void ShowProgress(const std::string& text, StatusForm form);

  /// Shows a failure on `Message` and holds for two seconds, yielding; a cancel does not cut them short.
  void ShowProgressPaused(const std::string& text);

  /// Row `y` goes back to black, not bold. Its texts and backgrounds stay.
  void MarkController(int y);

  // Link: the log (log.cpp).

  /// Writes a line to the log. A log that can't be written shows the run-error box, once: the tool then works
  /// without one.
  void Log(const std::string& line);
  /// The same for a message: what it is for, then its frame.
  void LogFrame(const std::string& line, const Bytes& frame);

  // Image (hex_file.cpp).

  /// Reads the file named in `FileName` and fills `image`. Returns its checksum, upper-case
  /// hex digits without leading zeros; or "" after a box, when there is no such file or it can't be read.
  std::string AnalyseHexFile();
  void FileName_Change();

  // Commands: one message to one controller `y`, or to all. A run-time failure inside one shows the run-error
  // box; one of its own exchange then counts as no answer.

  /// `y` comes by reference because it is `CurrentController`: the number of the controller that a run is at
  /// stands in one place, which the windows can look at too.

  /// Reads version and checksum of `y` into its row. True: they stand there, marked when the checksum is not
  /// the file's. False: the row tells the failure. Closes `Message`.
  bool FlashCheck(int& y);

  /// Erases `y` and readies it for programming. True: it acknowledged, and its row is empty. False: the row
  /// tells the failure. Closes `Message`.
  bool FlashErase(int& y);

  /// Streams the image once to all controllers, unanswered and paced by `Text2`, then has each ticked one
  /// confirm the full checksum. Stops between batches on Cancel. What went wrong stands in the rows.
  void FlashProg();

  /// Streams the image to `y` alone, each batch answered, then has it confirm the full checksum. The first
  /// failure ends the pass.
  void FlashProg00(int& y);

  /// Moves `y` from protocol 3 to 4. True: it answered, and the operator has seen the box that says so.
  bool SendP4(int& y);

  /// Moves `y` from protocol 4 to 3. True: it acknowledged, and its row is empty. Closes `Message`.
  bool Send55(int& y);

  // Workflows: one click each.
  void ComLoad_Click();
  void ComLoad00_Click();
  void ComInfo_Click();
  void ComBoot_Click();
  void Auto_Click();
  void Cmd3to4_Click();
  void Cmd4to3_Click();

  // Workflows: the speed search (speed_search.cpp). A controller gets at most one attempt at each of the four
  // speeds: first the one that stands in `Vitesse`, then the others from the lowest up.

  void ResetTriedSpeeds();
  /// Moves the line to the speed in `Vitesse` and ticks that speed as tried.
  void ApplySpeed();
  /// True: the lowest untried speed stands in `Vitesse`. False: none is left.
  bool NextUntriedSpeed();

 private:
  /// Thrown through a run when the program is to end, and caught where the run began.
  struct RunUnwound {};

  // Shell.
  void AddFrameLabels();
  void AddControllerBoxes();
  void Wire();
  void RequestEnd();
  void ServeEvents(const std::function<void()>& onePass);
  std::function<void()> Handler(void (Quillon::*handler)());
  std::function<void()> Workflow(void (Quillon::*handler)());
  void EnableDownloads(bool enabled);

  // Image.
  void WarnOfFaults();

  // Link.
  void StartLink();
  Wait AwaitAnswer(const Bytes& frame, double timeout, Bytes& received);
  Wait AwaitFirstByte(double deadline);
  ExchangeResult JudgeAnswer(const Bytes& frame, const Bytes& received, std::string& answer,
                             ShortAnswer shortAnswer);
  void OpenLog();
  void CloseLog();
  void ShowStatus(const Picture& picture, const std::string& line);
  void ClearRow(int y);
  void PaintRow(int y, int foreColor, bool bold);

  // Commands.

  /// ProtocolNumber, or 0 after the run-error box when the box `Protocol` holds no usable number.
  std::uint8_t ProtocolByteOrBox();
  /// Sends a frame until an answer carries the accepting code, in up to three exchanges. kAnswered: it was
  /// accepted. kRefused: three answers came, none with that code. Others: an exchange failed so. `onResult`
  /// gets the result of each exchange. Raises RunError like SendFrame.
  ExchangeResult SendForAcknowledge(const Bytes& frame,
                                    const std::function<void(ExchangeResult result)>& onResult = {});

  struct RequestTexts {
    const char* acknowledgedLog;
    const char* acknowledgedStatus;  ///< after the controller's name
    const char* refusedLog;
    std::string errorTitle = BoxWording().title;
  };
  /// Has `y` acknowledge a frame, and shows how that went in its row. Closes `Message`.
  bool RequestAcknowledge(int y, const Bytes& frame, const RequestTexts& texts);
  bool ReadFlash(int y);
  void FillRow(int y, const FlashFacts& facts);
  void BroadcastBatch(const Bytes& frame);
  bool SendBatches(int y);
  bool SendBatch(int y, const Bytes& frame);
  void ConfirmImageAlone(int y);
  ExchangeResult SendFullChecksum(int y, const char* status, const char* logLine);
  void ConfirmImage(int y);

  // Workflows: what all runs share (run_frame.cpp).

  void TakeStep(OnFailure onFailure, const std::function<void()>& step);

  /// What `Info` shows of a run.
  enum class Table { kNone, kFlashInfo, kBootInfo };
  /// The opening of a run: rows marked, an earlier Cancel forgotten, `Info` shown, the port selected and
  /// open.
  void OpenRun(Table table, OnFailure onFailure = OnFailure::kEndRun);
  void ShowTable(Table table);
  /// Selects the port of `ComPort`. Raises RunError 13 when none is selected.
  void SelectPort();

  enum class Next { kController, kEnd };
  /// Takes a step for each controller in the order of their numbers. `i` is `CurrentController`. Returns kEnd
  /// when a step did.
  Next ForEachController(const std::function<Next(int& i)>& step);
  void EndRun();

  // Workflows: what both downloads do after programming (after_programming.cpp).

  /// The image's protocol takes effect: from here on `Protocol` speaks to the new firmware.
  void TakeImageProtocol();
  /// A fixed rate of the image becomes the first speed tried. Raises RunError 383 for one the list lacks.
  void TakeImageSpeed();
  bool CheckProgrammed(int& i);
  /// Holds the row of `y` against the file's checksum: tells that the programming is OK, or marks the row.
  void CompareWithFile(int y);

  // Workflows: the speed search (speed_search.cpp).

  void AddTriedSpeedBoxes();
  /// Whether controller `i` is ticked, and no Cancel came.
  bool TakesPart(int i) const;

  enum class Turn { kDone, kSkipped, kNoSpeedLeft };
  /// Tries `command` on controller `i` at one speed after the other until it succeeds.
  Turn SearchSpeed(int i, const std::function<bool()>& command, const Search& search = {});

  // Workflows: steps of their own.
  bool EraseTicked();
  bool ProgramAll();
  void CheckTicked();
  Next DownloadTo(int& i);
  Turn EraseForDownload(int& i);
  Turn CheckDownload(int& i);
  enum class Attempt { kDone, kAgain };
  Attempt AskForBoot(int i);
  Attempt TryBootOtherwise(int i);
  void Detect(int i);
  void MoveTicked(bool (Quillon::*command)(int& y), const char* errorTitle);

  ControlArray<Label> numbers_;
  std::deque<CheckBox> triedSpeeds_;  // one for each speed of the list; never shown

  Clock& clock_;
  Events& events_;
  Desk& desk_;
  TextWriter log_;

  bool runUnderWay_ = false;
  bool ending_ = false;
  bool ended_ = false;
  int yieldDepth_ = 0;     // handlers run inside yields, and yield in turn
  int runYieldDepth_ = 0;  // the depth at which the current run began
};

}  // namespace quillon
