// Every fault in every phase of every run.
//
// Controllers 3 and 5 are ticked, and the fault strikes controller 3 or the line; 7 hangs on the same line
// and is not ticked. What the tool tells in its rows is held against the controllers' flash.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "faults/witness.h"
#include "results/run_results.h"
#include "workflows/run_bench.h"

namespace quillon::test {
namespace {

using bus::Command;
using bus::Fault;
using Kind = Fault::Kind;

constexpr Nanoseconds kPatience = 20min;  // of the operator, who then presses Cancel; longer than any run

struct Trouble {
  const char* name;
  Fault fault = {.last = 0};                     // of controller 3, counted in the phase; strikes nobody
  std::function<void(World&)> onLine = nullptr;  // from the phase's first frame to controller 3 on
  bool again = false;                            // then all is well, and the button is pressed once more
};

const auto kBabbles = [](World& world) {
  // About a byte a millisecond.
  world.noise = [&world, last = world.Time()]() mutable {
    const auto count = (world.Time() - last) / 1ms;
    last += count * 1ms;
    return Bytes(static_cast<std::size_t>(count), 0x55);
  };
};
const auto kUnplugged = [](World& world) {
  world.beforeOperation = [] { throw RunError(RunError::kDeviceFailed, "gone"); };
};

// The columns of the matrix, in their order.
const Trouble kTroubles[] = {
    {"Silent1", {.kind = Kind::Silent, .last = 1}},    // takes no notice of one message
    {"Silent", {.kind = Kind::Silent}},                // of all of the phase
    {"Dead", {.kind = Kind::Dead}},                    // of anything from here on
    {"Late", {.kind = Kind::Late, .delay = 700ms}},    // after the time-out, within the pause
    {"Later", {.kind = Kind::Late, .delay = 1200ms}},  // after the pause: it answers the next sending
    {"Crc1", {.kind = Kind::Corrupt, .last = 1}},      // answers once with a false CRC
    {"Crc", {.kind = Kind::Corrupt}},                  // always
    {"Refuse1", {.kind = Kind::Code, .last = 1, .value = 0xE1}},
    {"Refuse", {.kind = Kind::Code, .value = 0x00}},  // obeys, and always answers a code that nobody knows
    {"Long1", {.kind = Kind::Length, .last = 1, .value = 20}},
    {"Long", {.kind = Kind::Length, .value = 20}},  // CRC right, length unknown
    {"Short", {.kind = Kind::Short, .value = 3}},   // three bytes of the answer
    {"Echo", {.kind = Kind::Echo}},                 // the message comes back in place of an answer
    {.name = "Babbles", .onLine = kBabbles},        // the device delivers bytes without end
    {.name = "Unplugged", .onLine = kUnplugged},
    {.name = "Deaf", .onLine = [](World& world) { world.takesBytes = false; }},
    {.name = "Again", .onLine = kUnplugged, .again = true},
};

struct Way {                 // of running: what is ticked or typed beside the usual
  bool prot3 = false;        // "Prot 3" is ticked; the controllers stand in protocol 3
  bool keepSpeed = false;    // the speed is kept for programming
  bool ownProtocol = false;  // controllers of protocol byte 5, whose boot code knows 0x40 alone
  bool echo = false;         // the adapter hears itself; answers come after the pause
};
struct MatrixRow {
  const char* name;
  Button button;
  Command phase;
  const char* cells;
  Way way = {};
};
void PrintTo(const MatrixRow& row, std::ostream* out) { *out << row.name; }

bool Programs(Button button) { return button == kParallel || button == kSerial; }

class FaultBench : public RunBench {
 public:
  FaultBench(const MatrixRow& row, const Trouble& trouble) : row_(row), again_(trouble.again) {
    const Way& way = row.way;
    bus = bus::Bus({.echo = way.echo, .answerDelay = way.echo ? 600ms : 5ms, .downloadBaud = 38400});
    for (const int number : {3, 5, 7}) {
      const auto own = static_cast<std::uint8_t>(number);  // so that no row can show another's facts
      bus::ControllerSetup setup{.number = number,
                                 .version = {1, 2, own},
                                 .bootVersion = {1, 0, own},
                                 .bootChecksum = static_cast<std::uint16_t>(0xB000 + number),
                                 .flash = {own}};
      setup.protocol3 = way.prot3 || row.button == kTo4 || row.button == kTo3;
      if (way.ownProtocol) setup.protocol = 5, setup.bootProtocol = bus::BootProtocol::Fixed;
      if (row.button == kInfo && number != 5) setup.flash = ImageFlash();
      // A serial download comes to 5 with the speed and the protocol of the image.
      if (row.button == kSerial && number == 5) setup.baud = 19200, setup.protocol = 0x41;
      if (number == 3) {
        setup.faults = {trouble.fault};
        setup.faults[0].command = row.phase;
      }
      before_[number] = bus.Add(setup).Flash();
    }
    // Who is to be moved back to protocol 3 has to stand in 4.
    if (row.button == kTo3)
      for (const int y : {3, 5}) bus.At(y).Receive(TextFrameTo(y), random_);
    ChooseHex(kImage);
    Tick({3, 5});
    tool.observers.push_back(&results_);
    tool.Protocol.SetText(way.ownProtocol ? "4" : "63");
    tool.RUD3.SetValue(way.prot3);
    tool.useBB.SetValue(way.keepSpeed);
    tool.Text2.SetText("50");
    if (way.echo) tool.Text1.SetText("1500");
    if (trouble.onLine) {
      world.When([this] { return InPhase(); }, [this, &trouble] { trouble.onLine(world); });
    }
    world.At(kPatience, [this] {
      cancelled_ = true;
      tool.message.Command1.Press();
      // The next move to protocol 4 shows no Cancel to press.
      tool.AbortRequested = true;
    });
  }

  /// How it went, such as "NG+2": the look of the rows of 3 and 5, what more or less was sent than in a run
  /// without trouble, "!" with run-error boxes, "~" when only Cancel ended it.
  std::string Outcome(std::size_t usualFrames) {
    Press(row_.button);
    if (again_) {
      world.beforeOperation = nullptr;
      world.boxes.clear();
      world.sent.clear();
      Press(row_.button);
    }
    std::string outcome = {Look(3), Look(5)};
    const int more = static_cast<int>(world.sent.size()) - static_cast<int>(usualFrames);
    if (more != 0) outcome += (more > 0 ? "+" : "") + std::to_string(more);
    if (row_.button == kAuto && Ticked().find("4 ") != std::string::npos) outcome += "*";
    if (cancelled_) outcome = outcome.substr(0, 2) + "~";  // how often it went round is of no interest
    return outcome + (RunErrors() ? "!" : "");
  }

  /// What must never be, whatever strikes; empty when all is well.
  std::string Broken() {
    std::string broken;
    int eraseBaud = 0;
    for (const SentBytes& frame : world.sent) {
      if (CommandOf(frame.bytes) == Command::Erase) eraseBaud = frame.baud;
      broken += FrameBroken(frame, row_.way.keepSpeed ? eraseBaud : 38400);
    }
    for (const int y : {3, 5}) broken += RowBroken(y);
    if (bus.At(7).Flash() != before_[7] || Row(7) != " ") broken += "7 was not ticked; ";
    if (world.open && !RunErrors()) broken += "the port is open; ";
    if (tool.message.Visible() && !RunErrors()) broken += "Message is open; ";
    if (!tool.Auto.Enabled() || tool.Text1.Text() != (row_.way.echo ? "1500" : "500"))
      broken += "Auto kept what it borrowed; ";
    if (world.Time() > kPatience + 1min) broken += "Cancel did not end it; ";
    tool.Close();
    std::size_t from = 0;
    if (row_.button != kAuto && !LogHolds("\n" + Read("Log.txt"), world.sent, from))
      broken += "the log lacks frames; ";
    return broken;
  }

 private:
  bool InPhase() const {
    const SentBytes* last = world.sent.empty() ? nullptr : &world.sent.back();
    if (!last || CommandOf(last->bytes) != row_.phase) return false;
    return AddresseeOf(last->bytes) == 3 || AddresseeOf(last->bytes) == -1;
  }

  bool RunErrors() const {
    const std::vector<int> boxes = BoxNumbers();
    return std::any_of(boxes.begin(), boxes.end(), [](int number) { return number != 0; });
  }

  /// The letter of a row, see the legend. The runs that fill no rows tell by a tick or a box.
  char Look(int y) {
    if (row_.button == kAuto) return tool.C(y).Ticked() ? 'G' : '.';
    if (row_.button == kTo4) return InProtocol4(y) ? 'G' : '.';
    const std::string row = Row(y);
    if (row == " ") return row_.button == kTo3 && !InProtocol4(y) ? 'G' : '.';
    if (row == "No Answer red") return 'N';
    if (row == "Communication ERROR red") return 'C';
    if (row == "communication Failure red" || row == "Erasing Failure red") return 'R';
    if (row == "Programmation ERROR red marked") return 'E';
    if (row == "No Answer") return 'n';
    if (row.find('/') == std::string::npos) return '?';
    return row.ends_with(" marked") ? 'M' : 'G';
  }

  /// Whether `y` stands in protocol 4: then it answers $73.
  bool InProtocol4(int y) {
    const Bytes check = bus::CloseFrame({0x40, static_cast<std::uint8_t>(y), 0x01, 0x73});
    return bus.At(y).Receive({.format = {}, .bytes = check}, random_).has_value();
  }
  static bus::ReceivedFrame TextFrameTo(int y) {
    return {.format = {},
            .bytes = {0x40, static_cast<std::uint8_t>(y + 30), 'p', '4', '0', '0', ':', '4', '/'}};
  }

  std::string FrameBroken(const SentBytes& frame, int downloadBaud) const {
    const Command command = CommandOf(frame.bytes);
    const int to = AddresseeOf(frame.bytes);
    const bool toAll = row_.button == kParallel && command == Command::Batch;
    const bool download = command == Command::Batch || command == Command::Checksum;
    const bool asked = toAll ? to == -1 : to == 3 || to == 5 || row_.button == kAuto;
    const bool known = std::ranges::count(kSpeeds, std::to_string(frame.baud)) == 1;
    if (asked && (download ? frame.baud == downloadBaud : known)) return "";
    return "sent at " + std::to_string(frame.baud) + ": " + ToHex(frame.bytes) + "; ";
  }

  /// A row must not tell of the flash what is not so.
  std::string RowBroken(int y) {
    const char look = Look(y);
    const bus::Controller& controller = bus.At(y);
    const std::string row = Row(y);
    const std::string who = std::to_string(y);
    const bool judged = Programs(row_.button) || row_.button == kInfo;
    if (judged && results_.VerdictOf(y).good && controller.Flash() != ImageFlash())
      return who + " is called good; ";
    if (!Programs(row_.button) && controller.Flash() != before_[y]) return who + " was changed; ";
    if (Programs(row_.button) && look == 'G' && controller.Flash() != ImageFlash()) return who + " lies; ";
    if (look == 'E' && controller.Flash() == ImageFlash()) return who + " holds the image; ";
    const bool shown = look == 'M' || look == 'G';
    const bool boot = row_.button == kBoot;
    if (!shown || !(Programs(row_.button) || row_.button == kInfo || boot)) return "";
    const std::uint32_t sum = boot ? static_cast<std::uint32_t>(0xB000 + y) : controller.Checksum();
    const std::string digits = ToHex({static_cast<std::uint8_t>(sum >> 8), static_cast<std::uint8_t>(sum)});
    std::string version = (boot ? "01/00/0" : "01/02/0") + who;
    if (!boot && controller.Flash() == ImageFlash()) version = "12/05/31";
    const bool own = row.starts_with(version + " ") && row.find(" " + digits) != std::string::npos;
    return own ? "" : who + " shows another's facts: " + row + "; ";
  }

  const MatrixRow& row_;
  const bool again_;
  bool cancelled_ = false;
  RunResults results_;
  bus::Random random_;
  std::map<int, Bytes> before_;
};

// Letters: the rows of 3 and 5.
//     G  good: version and checksum, black, the flash is as told; detected; moved
//     M  marked: read, white on red, not the file's checksum
//     E  "Programmation" "ERROR"
//     N  "No" "Answer"; n in black: readied for the next speed, which was not tried, or of the run before
//     C  "Communication" "ERROR"
//     R  refused: "Failure"
//     .  empty, not detected, not moved
// Again tells of the second run. Where it ends in N, the first run left 3 with one of the two protocols, the
// image's and the former one, and the tool with the other.
// +2 two frames more than in a run without trouble, -2 two less. ! run-error boxes. ~ ended by Cancel alone.
// * 4 is ticked, a number that nobody has: an answer does not say whose it is, so a late one counts for the
//   number that was asked last. For the same reason the tool can't see a second controller with one number,
//   nor a length of 14 bytes in place of 13 with a right CRC: such a line is not in this table.
// clang-format off
const MatrixRow kMatrix[] = {
    // Sil1 Silent Dead  Late Later Crc1 Crc   Ref1 Refuse Long1 Long Short Echo  Babble Unplug Deaf Again
    {"ParallelErase", kParallel, Command::Erase,
     "GG+1 N.+4   N.+4  GG   GG+2  GG+1 C.+4  GG+1 R.+4   GG    GG   C.+4  N.+4  C.+4   n.-7!  .N-7 GG+3"},
    {"ParallelBatch", kParallel, Command::Batch,
     "EG+2 NG+22  NG+22 GG   GG    GG   GG    GG   GG     GG    GG   GG    GG    CC+26  ..-5!  NN-5 GG+9"},
    {"ParallelSum", kParallel, Command::Checksum,
     "GG+1 NG+22  NG+22 GG   GG+2  GG+1 GG+2  GG+1 GG+2   GG    GG   GG+2  GG+2  CC+26  ..-3!  NN-3 N.+4"},
    {"ParallelCheck", kParallel, Command::Check,
     "GG+1 NG+20  NG+20 GG   GG+2  GG+1 NG+20 GG   GG     GG+1  N.~  NG+20 NG+20 CC+22  N.-1!  GN-1 GG+6"},
    {"ParallelEraseKeepSpeed", kParallel, Command::Erase,
     "GG+1 N.+4   N.+4  GG   GG+2  GG+1 N.+4  GG+1 N.+4   GG    GG   N.+4  N.+4  C.+4   n.-7!  .N-7 GG+3",
     {.keepSpeed = true}},
    {"ParallelBatchKeepSpeed", kParallel, Command::Batch,
     "EG+2 NG+22  NG+22 GG   GG    GG   GG    GG   GG     GG    GG   GG    GG    CC+26  ..-5!  NN-5 GG",
     {.keepSpeed = true}},
    {"ParallelMove", kParallel, Command::ToProtocol4,
     "GG+1 NG+40  NG+40 GG   GG+2  GG+1 GG+2  GG   GG     GG    GG   GG    GG+2  CC+44  N.-3!  NN-3 GG+6",
     {.prot3 = true}},
    {"ParallelCheckProt3", kParallel, Command::Check,
     "GG+1 NG+38  NG+38 GG   GG+2  GG+1 NG+38 GG   GG     GG+1  N.~  NG+38 NG+38 CC+42  N.-2!  GN-2 GG+6",
     {.prot3 = true}},
    {"ParallelSumEcho", kParallel, Command::Checksum,
     "GG+1 NG+22  NG+22 GG   GG    GG+1 GG+2  GG+1 GG+2   GG    GG   GG+2  GG+2  CC+26  ..-3!  NN-3 N.+4",
     {.echo = true}},
    {"ParallelEraseEcho", kParallel, Command::Erase,
     "GG+1 N.+4   N.+4  GG   GG    GG+1 C.+4  GG+1 R.+4   GG    GG   C.+4  N.+4  C.+4   n.-7!  .N-7 GG+3",
     {.echo = true}},
    {"SerialErase", kSerial, Command::Erase,
     "GG+1 N.+2   N.+2  GG   GG+1  GG+1 C.+2  GG+1 R.+2   GG    GG   C.+2  N.+2  C.+2   N.-9!  NN-9 GG"},
    {"SerialBatch", kSerial, Command::Batch,
     "GG+1 NG+20  NG+20 GG   GG+2  GG+1 NG+20 GG+1 NG+20  GG    GG   NG+20 NG+20 CC+18  NN-8!  NN-8 Nn+2"},
    {"SerialBatchKeepSpeed", kSerial, Command::Batch,
     "GG+1 NG+20  NG+20 GG   GG+2  GG+1 NG+20 GG+1 NG+20  GG    GG   NG+20 NG+20 CC+18  NN-8!  NN-8 Nn+2",
     {.keepSpeed = true}},
    {"SerialBatchEcho", kSerial, Command::Batch,
     "GG+1 NG+20  NG+20 GG   GG    GG+1 NG+20 GG+1 NG+20  GG    GG   NG+20 NG+20 CC+18  NN-8!  NN-8 Nn+2",
     {.echo = true}},
    {"SerialSum", kSerial, Command::Checksum,
     "GG+1 NG+22  NG+22 GG   GG+1  GG+1 GG+2  GG+1 GG+2   GG    GG   GG+2  GG+2  CC+20  NN-6!  NN-6 GG"},
    {"SerialCheck", kSerial, Command::Check,
     "GG+1 NG+20  NG+20 GG   GG+2  GG+1 NG+20 GG   GG     GG+1  N.~  NG+20 NG+20 CC+18  NN-5!  GN-5 GG"},
    {"SerialMove", kSerial, Command::ToProtocol4,
     "GG+1 NG+31  NG+31 GG   GG+2  GG+1 GG+2  GG   GG     GG    GG   GG    GG+2  CC+28  NN-7!  NN-7 GG",
     {.prot3 = true}},
    {"SerialCheckProt3", kSerial, Command::Check,
     "GG+1 NG+29  NG+29 GG   GG+2  GG+1 NG+29 GG   GG     GG+1  N.~  NG+29 NG+29 CC+26  NN-6!  GN-6 GG",
     {.prot3 = true}},
    {"FlashInfo", kInfo, Command::Check,
     "GM+1 NM+17  NM+17 GM   GM+2  GM+1 NM+17 GM   GM     GM+1  n.~  NM+17 NM+17 CC+22  n.-1!  GN-1 GM+3"},
    {"FlashInfoEcho", kInfo, Command::Check,
     "GM+1 NM+17  NM+17 GM   GM    GM+1 NM+17 GM   GM     GM+1  n.~  NM+17 NM+17 CC+22  n.-1!  GN-1 GM+3",
     {.echo = true}},
    {"BootInfo", kBoot, Command::Boot,
     "GG+1 NG+17  NG+17 GG   GG+2  GG+1 NG+17 GG   GG     GG+1  n.~  NG+17 NG+17 CC+22  ..-1!  GN-1 GG+1"},
    {"BootInfoFallBack", kBoot, Command::Boot,
     "GG+1 N.~    N.~   GG   GG+2  GG+1 C.~   GG   GG     GG+1  N.~  C.~   N.~   C.~    ..-4!  N.~  GG",
     {.ownProtocol = true}},
    {"AutoDetection", kAuto, Command::Check,
     "GG+1 .G+5  .G+5  GG-16* GG-14* GG+1 .G+5  GG   GG     GG    GG   .G+5  .G+5  ..+15  GG-332! ..-332 GG"},
    {"To3", kTo3, Command::ToProtocol3,
     "GG+1 NG+17  NG+17 GG   GG+2  GG+1 NG+17 GG+1 NG+17  GG    GG   NG+17 NG+17 CC+22  n.-1!  GN-1 GG+3"},
    {"To4", kTo4, Command::ToProtocol4,
     "GG+1 .G+17  .G+17 GG   GG+2  GG+1 GG+17 GG   GG     GG    GG   GG    GG+17 GG+22  G.-1!  G.-1 GG+3"},
};
// clang-format on

class FaultMatrix : public testing::TestWithParam<MatrixRow> {};
INSTANTIATE_TEST_SUITE_P(Phases, FaultMatrix, testing::ValuesIn(kMatrix), testing::PrintToStringParamName());

TEST_P(FaultMatrix, HoldsWhatTheRowsTellAgainstTheFlash) {
  FaultBench usual(GetParam(), {});
  usual.Outcome(0);
  EXPECT_EQ(usual.Broken(), "") << "without trouble";
  std::istringstream cells(GetParam().cells);
  for (const Trouble& trouble : kTroubles) {
    FaultBench bench(GetParam(), trouble);
    std::string expected;
    cells >> expected;
    EXPECT_EQ(bench.Outcome(usual.world.sent.size()), expected) << trouble.name;
    EXPECT_EQ(bench.Broken(), "") << trouble.name << ": " << bench.Talk();
  }
}

}  // namespace
}  // namespace quillon::test
