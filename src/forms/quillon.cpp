// The main window: creates the controls that are arranged in rows. quillon.h has the others, and the meaning
// of each. All lengths are in twips, 1/1440 inch. `Frame1` contains:
//
//     Time Out:  [Text1] MSec   Parallel Waiting Delay: [Text2] MSec   Com Port  Speed  Protocol  Prot 3
//     [ALL]      C(0)  C(1)  ... C(15)
//     [NONE]       0     1         15
//     [Auto]     C(16) C(17) ... C(31)
//                 16    17         31
#include "forms/quillon.h"

#include "platform/conversions.h"

namespace quillon {
namespace {

constexpr int kBoxesInRow = 16;
constexpr int kFirstBoxLeft = 1320;
constexpr int kBoxPitch = 392;
constexpr int kBoxWidth = 190;
constexpr int kBoxHeight = 195;
constexpr int kBoxRowTops[] = {1200, 1920};
constexpr int kNumberDrop = 240;  // from the top of a box to the number below it
constexpr int kNumberWidth = 375;
constexpr int kFirstSpeedBoxTop = 840;
constexpr int kSpeedBoxPitch = 180;
constexpr int kMainWidth = 9195;
constexpr int kMainHeight = 5400;

}  // namespace

Quillon::Quillon(const Computer& computer)
    : Form(computer.screen, "Quillon", "Quillon", Border::kFixed, kMainWidth, kMainHeight),
      MSComm1(computer.serialDevice),
      info(computer.screen),
      message(computer.screen, *this),
      AppFolder(computer.programFolder),
      run(computer.events),
      clock(computer.clock),
      events(computer.events),
      dialogs(computer.dialogs) {
  AddTriedSpeedBoxes();
  AddFrameLabels();
  AddControllerBoxes();
}

void Quillon::AddFrameLabels() {
  Label39.Add(Frame1, "Label39", {300, 240, 1100, 195}, {.text = "Time Out:"});
  Label39.Add(Frame1, "Label39", {975, 540, 500, 195}, {.text = "MSec"});
  Label39.Add(Frame1, "Label39", {2250, 540, 500, 195}, {.text = "MSec"});
  Label39.Add(Frame1, "Label39", {1485, 240, 1650, 195}, {.text = "Parallel Waiting Delay:"});
  Label39.Add(Frame1, "Label39", {6120, 240, 700, 195}, {.text = "Protocol:"});
}

void Quillon::AddControllerBoxes() {
  for (int number = 0; number < kControllers; ++number) {
    const int left = kFirstBoxLeft + number % kBoxesInRow * kBoxPitch;
    const int top = kBoxRowTops[number / kBoxesInRow];
    const std::string name = "Controller " + std::to_string(number);
    C.Add(Frame1, "C", {left, top, kBoxWidth, kBoxHeight},
          {.value = CheckBox::kTicked, .accessibleName = name});
    numbers_.Add(Frame1, "Number",
                 {left + (kBoxWidth - kNumberWidth) / 2, top + kNumberDrop, kNumberWidth, 195},
                 {.text = std::to_string(number), .centred = true});
  }
}

/// These boxes are never shown. The speed search ticks the speeds that it has tried.
void Quillon::AddTriedSpeedBoxes() {
  int top = kFirstSpeedBoxTop;
  for (const char* speed : kSpeeds) {
    const std::string name = std::string("V") + speed;
    triedSpeeds.emplace_back(*this, name, Place{6285, top, 855, 195}, Design{.text = name, .visible = false});
    top += kSpeedBoxPitch;
  }
}

std::uint8_t Quillon::ProtocolNumber() const {
  return static_cast<std::uint8_t>(ToWholeNumber(Protocol.Text(), 0, 254, "Protocol") + 1);
}

}  // namespace quillon
