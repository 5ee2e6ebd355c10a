#include <algorithm>
#include <initializer_list>
#include <random>

#include "session.h"

namespace quillon::soak {
namespace {

using Kind = bus::Fault::Kind;

constexpr const char* kFiles[] = {"a.hex",   "a.hex",       "b.hex",     "b.hex",
                                  "bad.hex", "missing.hex", "empty.hex", ""};

/// Random numbers, the same for the same seed on every machine.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : random_(seed) {}
  std::uint64_t Any() { return random_(); }
  std::uint8_t Byte() { return static_cast<std::uint8_t>(Any()); }
  int Below(int end) { return static_cast<int>(random_() % static_cast<std::uint64_t>(end)); }
  bool OneIn(int n) { return Below(n) == 0; }
  template <class T>
  T Of(std::initializer_list<T> values) {
    return values.begin()[Below(static_cast<int>(values.size()))];
  }
  template <class T, std::size_t kCount>
  const T& Of(const T (&values)[kCount]) {
    return values[Below(kCount)];
  }

 private:
  std::mt19937_64 random_;
};

bus::Fault RandomFault(Dice& dice) {
  using enum bus::Command;
  bus::Fault fault{.kind = dice.Of({Kind::Silent, Kind::Silent, Kind::Dead, Kind::Late, Kind::Corrupt,
                                    Kind::Code, Kind::Length, Kind::Short, Kind::Echo})};
  fault.first = 1 + dice.Below(6);
  if (!dice.OneIn(3)) fault.last = fault.first + dice.Below(4);
  if (!dice.OneIn(3))
    fault.command = dice.Of({Check, Erase, Batch, Checksum, Boot, ToProtocol3, ToProtocol4});
  fault.value = fault.kind == Kind::Code ? 0xE1 : fault.kind == Kind::Length ? dice.Of({7, 20, 261}) : 3;
  // Not so late that it answers the next question: nobody could know whose answer it is.
  fault.delay = dice.Below(450) * 1ms;
  if (dice.OneIn(4)) fault.chance = 0.5;
  return fault;
}

/// Version and checksum of the boot code are those that Session expects of the number.
bus::ControllerSetup RandomController(Dice& dice, int number) {
  const auto own = static_cast<std::uint8_t>(number);
  bus::ControllerSetup setup{.number = number, .bootVersion = {1, 2, own}, .flash = {own, dice.Byte()}};
  setup.bootChecksum = static_cast<std::uint16_t>(0xB000 + number);
  setup.baud = dice.Of({9600, 9600, 9600, 4800, 19200, 38400});
  setup.protocol = dice.Of<std::uint8_t>({0x40, 0x40, 0x40, 0x41, 5});
  setup.form = dice.Of({bus::AnswerForm::Bytes13, bus::AnswerForm::Bytes14});
  setup.protocol3 = dice.OneIn(6);
  for (int faults = dice.OneIn(2) ? dice.Below(3) : 0; faults > 0; --faults)
    setup.faults.push_back(RandomFault(dice));
  return setup;
}

void AddLine(Dice& dice, Scenario& scenario) {
  scenario.line = {.echo = dice.OneIn(8), .downloadBaud = dice.Of({9600, 9600, 38400}), .seed = dice.Any()};
  if (scenario.line.echo) scenario.line.answerDelay = 600ms;
  int number = dice.Below(8);
  for (int count = 1 + dice.Below(4); count > 0; --count, number += 1 + dice.Below(7))
    scenario.controllers.push_back(RandomController(dice, number));
}

/// A few blocks, with version, speed, protocol byte and product at 2010.
HexFile RandomFile(Dice& dice) {
  HexFile file{":020000040000FA\r\n", Bytes(0x10000, 0xFF)};
  const auto put = [&](int address, const Bytes& data) {
    file.text += test::HexRecord(static_cast<unsigned>(address), data) + "\r\n";
    std::ranges::copy(data, file.flash.begin() + address);
  };
  for (int block = 0; block < 3; ++block) {
    for (int row = 0; row < 1 + dice.Below(12); ++row) {
      Bytes data(16);
      std::ranges::generate(data, [&] { return dice.Byte(); });
      put(block * 0x400 + row * 16, data);
    }
  }
  put(0x2010, {0, 0, 0, 0, 0, 0x31, 0x32, 0, 0x30, 0x35, 0, 0x33, 0x31, 0, 0, 0});
  // Product 09 is the one whose speed can be kept.
  put(0x2020, {dice.Of<std::uint8_t>({0x10, 0x20, 0x70}), 0, dice.Of<std::uint8_t>({0x40, 0x41}),
               dice.Of<std::uint8_t>({5, 9})});
  file.text += ":00000001FF\r\n";
  return file;
}

template <class Box>
Step Enter(const char* name, Box Quillon::*box, const std::string& text) {
  return {std::string(name) + " = \"" + text + "\"", [=](Session& s) { (s.tool.*box).SetText(text); }};
}

Step Tick(const char* name, CheckBox Quillon::*box, bool ticked) {
  return {(ticked ? "tick " : "untick ") + std::string(name), [=](Session& s) {
            if ((s.tool.*box).Enabled()) (s.tool.*box).SetValue(ticked);
          }};
}

Step Tick(int number, bool ticked) {
  return {(ticked ? "tick " : "untick ") + std::to_string(number),
          [=](Session& s) { s.tool.C(number).SetValue(ticked); }};
}

Step Choose(const char* file) {
  return {std::string("choose ") + file, [file](Session& s) { s.Choose(file); }};
}

Step RandomRun(Dice& dice) {
  constexpr std::pair<const char*, Button> kRuns[] = {
      {"ComLoad", &Quillon::ComLoad}, {"ComLoad00", &Quillon::ComLoad00}, {"ComInfo", &Quillon::ComInfo},
      {"ComBoot", &Quillon::ComBoot}, {"Auto", &Quillon::Auto},           {"Cmd3to4", &Quillon::Cmd3to4},
      {"Cmd4to3", &Quillon::Cmd4to3}};
  const auto& [name, button] = dice.Of(kRuns);
  return {std::string("press ") + name, [button = button](Session& s) { s.PressRun(button); }};
}

Step RandomStep(Dice& dice) {
  const bool ticked = dice.OneIn(2);
  const Nanoseconds duration = dice.Below(20000) * 1ms;
  const int percent = dice.Below(100);
  if (percent < 36) return RandomRun(dice);
  if (percent < 48) return {"press Cancel", [](Session& s) { s.Cancel(false); }};
  if (percent < 49) return {"close Message", [](Session& s) { s.Cancel(true); }};
  if (percent < 51) return {"close Info", [](Session& s) { s.tool.info.Close(); }};
  if (percent < 52) return {"press Exit", [](Session& s) { s.tool.ComClose.Press(); }};
  if (percent < 56)
    return Enter("Protocol", &Quillon::Protocol,
                 dice.Of({"63", "63", "63", "64", "64", "", "4", "x", "255", "63\r\n9", "  63"}));
  if (percent < 59)
    return Enter("Text1", &Quillon::Text1,
                 dice.Of({"50", "200", "500", "500", "1500", "0", "", "-5", "abc", "99999999999"}));
  if (percent < 62)
    return Enter("Text2", &Quillon::Text2, dice.Of({"0", "10", "50", "-1", "x", "32768", ""}));
  if (percent < 63) return Enter("ComPort", &Quillon::ComPort, "COM " + std::to_string(1 + dice.Below(99)));
  if (percent < 65) return Enter("Vitesse", &Quillon::Vitesse, dice.Of(kSpeeds));
  if (percent < 67) return {"press NONE", [](Session& s) { s.tool.NONE.Press(); }};
  if (percent < 70) return Tick("RUD3", &Quillon::RUD3, ticked);
  if (percent < 72) return Tick("useBB", &Quillon::useBB, ticked);
  if (percent < 73) return Tick("ChkProto", &Quillon::ChkProto, ticked);
  if (percent < 75) return Tick("Check1", &Quillon::Check1, false);
  if (percent < 81) return Tick(dice.Below(kControllers), ticked);
  if (percent < 82) return {"overwrite b.hex by a.hex", [](Session& s) { s.Overwrite("b.hex", "a.hex"); }};
  if (percent < 94) return Choose(dice.Of(kFiles));
  if (percent < 95) return {"pull the adapter", [=](Session& s) { s.PullAdapter(duration); }};
  if (percent < 96) return {"another program opens the port", [=](Session& s) { s.TakePort(duration); }};
  if (percent < 97) return {"noise on the line", [=](Session& s) { s.AddNoise(duration / 4); }};
  if (percent < 98) return {"another controller refuses", [](Session& s) { s.RefuseAsOther(); }};
  return {"the adapter sends no bytes", [=](Session& s) { s.StallOutput(duration); }};
}

/// Mostly the controllers of the line are ticked, with the protocol of the first one.
void AddSettings(Dice& dice, Scenario& scenario) {
  const auto add = [&](const Step& step) { scenario.steps.push_back(step); };
  add(Enter("Text1", &Quillon::Text1, scenario.line.echo ? "1500" : dice.Of({"50", "200", "500"})));
  add(Enter("Vitesse", &Quillon::Vitesse, dice.Of({"9600", "9600", "4800", "38400"})));
  const int protocol = dice.OneIn(5) ? 63 : scenario.controllers[0].protocol - 1;
  add(Enter("Protocol", &Quillon::Protocol, std::to_string(protocol)));
  if (dice.OneIn(3)) add(Tick("RUD3", &Quillon::RUD3, true));
  for (const bus::ControllerSetup& setup : scenario.controllers)
    if (!dice.OneIn(3)) add(Tick(setup.number, true));
  if (dice.OneIn(2)) add(Tick(dice.Below(kControllers), true));
  if (!dice.OneIn(5)) add(Choose("a.hex"));
}

/// A held key repeats its step, 30 ms apart.
void AddSteps(Dice& dice, Scenario& scenario) {
  Nanoseconds at = 10ms;
  const bool calm = dice.OneIn(2);  // most runs come to their end
  for (int steps = 4 + dice.Below(30); steps > 0; --steps) {
    at += dice.Below(calm || dice.OneIn(6) ? 60000 : 3000) * 1ms;
    Step step = RandomStep(dice);
    for (int repeats = dice.OneIn(12) ? 8 : 1; repeats > 0; --repeats, at += 30ms) {
      step.at = at;
      scenario.steps.push_back(step);
    }
  }
}

}  // namespace

Scenario RandomScenario(std::uint64_t seed) {
  Dice dice(seed);
  Scenario scenario{.seed = seed};
  AddLine(dice, scenario);
  scenario.files["a.hex"] = RandomFile(dice);
  scenario.files["b.hex"] = RandomFile(dice);
  scenario.files["bad.hex"] = {":zz\r\n:1000000001\rno hex at all\n\n:FF00", {}};
  scenario.files["empty.hex"] = {"", Bytes(0x10000, 0xFF)};
  AddSettings(dice, scenario);
  AddSteps(dice, scenario);
  return scenario;
}

}  // namespace quillon::soak
