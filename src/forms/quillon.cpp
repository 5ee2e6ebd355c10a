// The main window. Most controls are members of the class, declared in quillon.h with their meaning. Created
// here are some labels and the check boxes of the controllers, which are inside the frame `Frame1`, and the
// hidden check boxes of the speed search.
//
//     Time Out:        Parallel Waiting Delay:    Com Port:    Speed:      Protocol:
//     [Text1] MSec     [Text2] MSec               [ComPort]    [Vitesse]   [Protocol]   [RUD3] Prot 3
//     [ALL]    C(0)   C(1)  ... C(15)
//     [NONE]     0      1         15
//     [Auto]   C(16)  C(17) ... C(31)
//                16     17        31
//
// `C(n)` is the check box of controller n. Its number is below it. `Label39` is the array of the labels "Time
// Out:", "MSec", "MSec", "Parallel Waiting Delay:" and "Protocol:". All lengths are in twips, 1/1440 inch.
// The names, places and sizes of the controls are fixed.
#include "forms/quillon.h"

#include "platform/conversions.h"

namespace quillon {
namespace {

constexpr int kLabelHeight = 195;
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
  const auto add = [this](int left, int top, int width, const char* text) {
    Label39.Add(Frame1, "Label39", {left, top, width, kLabelHeight}, {.text = text});
  };
  add(300, 240, 1100, "Time Out:");
  add(975, 540, 500, "MSec");   // right of `Text1`
  add(2250, 540, 500, "MSec");  // right of `Text2`
  add(1485, 240, 1650, "Parallel Waiting Delay:");
  add(6120, 240, 700, "Protocol:");
}

void Quillon::AddControllerBoxes() {
  for (int controller = 0; controller < kControllers; ++controller) {
    const std::string number = std::to_string(controller);
    const std::string name = "Controller " + number;
    const int left = kFirstBoxLeft + controller % kBoxesInRow * kBoxPitch;
    const int top = kBoxRowTops[controller / kBoxesInRow];
    C.Add(Frame1, "C", {left, top, kBoxWidth, kBoxHeight},
          {.value = CheckBox::kTicked, .accessibleName = name});
    const int numberLeft = left + (kBoxWidth - kNumberWidth) / 2;  // centred below the box
    numbers_.Add(Frame1, "Number", {numberLeft, top + kNumberDrop, kNumberWidth, kLabelHeight},
                 {.text = number, .centred = true});
  }
}

// The check boxes `V4800` to `V38400` store which speeds a speed search has tried. They are never shown, but
// have fixed places as all controls have.
void Quillon::AddTriedSpeedBoxes() {
  int top = kFirstSpeedBoxTop;
  for (const char* speed : kSpeeds) {
    const std::string name = std::string("V") + speed;
    triedSpeeds.emplace_back(*this, name, Place{6285, top, 855, 195}, Design{.text = name, .visible = false});
    top += kSpeedBoxPitch;
  }
}

// By definition, the protocol byte of a frame is one more than the number in the box: 64, or hex 40, for 63.
std::uint8_t Quillon::ProtocolNumber() const {
  const auto number = ToWholeNumber(Protocol.Text(), 0, 254, "Protocol");
  return static_cast<std::uint8_t>(number + 1);
}

}  // namespace quillon
