#include <initializer_list>

#include "session.h"

namespace quillon::soak {
namespace {

using Kind = bus::Fault::Kind;

constexpr Button kRuns[] = {&Quillon::ComLoad, &Quillon::ComLoad00, &Quillon::ComInfo, &Quillon::ComBoot,
                            &Quillon::Auto,    &Quillon::Cmd3to4,   &Quillon::Cmd4to3};
const char* const kRunNames[] = {"ComLoad", "ComLoad00", "ComInfo", "ComBoot", "Auto", "Cmd3to4", "Cmd4to3"};

/// Chance, the same for the same seed on every machine.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : random_(seed) {}
  std::uint64_t Any() { return random_(); }
  int Below(int end) { return static_cast<int>(random_() % static_cast<std::uint64_t>(end)); }
  bool OneIn(int n) { return Below(n) == 0; }
  template <class T>
  T Of(std::initializer_list<T> values) {
    return values.begin()[Below(static_cast<int>(values.size()))];
  }

 private:
  std::mt19937_64 random_;
};

bus::Fault InventFault(Dice& dice) {
  using bus::Command;
  bus::Fault fault{.kind = dice.Of({Kind::Silent, Kind::Silent, Kind::Dead, Kind::Late, Kind::Corrupt,
                                    Kind::Code, Kind::Length, Kind::Short, Kind::Echo})};
  fault.first = 1 + dice.Below(6);
  if (!dice.OneIn(3)) fault.last = fault.first + dice.Below(4);
  if (!dice.OneIn(3)) {
    fault.command = dice.Of({Command::Check, Command::Erase, Command::Batch, Command::Checksum, Command::Boot,
                             Command::ToProtocol3, Command::ToProtocol4});
  }
  fault.value = fault.kind == Kind::Code ? 0xE1 : fault.kind == Kind::Length ? dice.Of({7, 20, 261}) : 3;
  // Not so late that it answers the next question: nobody could know whose answer it is.
  fault.delay = dice.Below(450) * 1ms;
  if (dice.OneIn(4)) fault.chance = 0.5;
  return fault;
}

void InventBus(Dice& dice, Scenario& scenario) {
  scenario.line = {.echo = dice.OneIn(8), .downloadBaud = dice.Of({9600, 9600, 38400}), .seed = dice.Any()};
  if (scenario.line.echo) scenario.line.answerDelay = 600ms;
  const int first = dice.Below(8);
  for (int i = 0, number = first; i < 1 + dice.Below(4); ++i, number += 1 + dice.Below(7)) {
    bus::ControllerSetup setup{.number = number, .baud = dice.Of({9600, 9600, 9600, 4800, 19200, 38400})};
    setup.protocol = dice.Of<std::uint8_t>({0x40, 0x40, 0x40, 0x41, 5});
    setup.flash = {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(dice.Any())};
    setup.form = dice.OneIn(2) ? bus::AnswerForm::Bytes13 : bus::AnswerForm::Bytes14;
    setup.protocol3 = dice.OneIn(6);
    setup.bootVersion = {1, 2, static_cast<std::uint8_t>(number)};
    setup.bootChecksum = static_cast<std::uint16_t>(0xB000 + number);
    for (int faults = dice.OneIn(2) ? dice.Below(3) : 0; faults > 0; --faults)
      setup.faults.push_back(InventFault(dice));
    scenario.controllers.push_back(setup);
  }
}

void InventSettings(Dice& dice, Scenario& scenario) {
  std::string& text = scenario.settings;
  const auto line = [&text](const std::string& value) { text += value + "\r\n"; };
  line(scenario.line.echo ? "1500" : dice.Of({"50", "200", "500"}));
  line("COM " + std::to_string(1 + dice.Below(99)));
  line(dice.Of({"9600", "9600", "4800", "38400"}));
  for (int i = 0; i < kControllers; ++i) {
    bool there = false;
    for (const bus::ControllerSetup& setup : scenario.controllers) there |= setup.number == i;
    line((there ? !dice.OneIn(3) : dice.OneIn(20)) ? " 1 " : " 0 ");
  }
  line(dice.Of({"0", "10", "50"}));
  // Mostly the protocol of the first controller.
  line(dice.OneIn(5) ? "63" : std::to_string(scenario.controllers[0].protocol - 1));
  line(" 0 ");
  line(dice.OneIn(3) ? " 1 " : " 0 ");
}

/// A HEX file of a few blocks with what an image says about itself, and the flash that it makes.
void InventImage(Dice& dice, Scenario& scenario, const std::string& name) {
  Bytes flash(0x10000, 0xFF);
  std::string text = ":020000040000FA\r\n";
  const auto put = [&](unsigned address, const Bytes& data) {
    text += test::HexRecord(address, data) + "\r\n";
    std::copy(data.begin(), data.end(), flash.begin() + static_cast<std::ptrdiff_t>(address));
  };
  for (int block = 0; block < 3; ++block) {
    for (int row = 0; row < 1 + dice.Below(12); ++row) {
      Bytes data(16);
      for (std::uint8_t& byte : data) byte = static_cast<std::uint8_t>(dice.Any());
      put(static_cast<unsigned>(block * 0x400 + row * 16), data);
    }
  }
  put(0x2010, {0, 0, 0, 0, 0, 0x31, 0x32, 0, 0x30, 0x35, 0, 0x33, 0x31, 0, 0, 0});
  // Flags (the rate), protocol byte, product: 09 is the one whose speed can be kept.
  put(0x2020, {dice.Of<std::uint8_t>({0x10, 0x20, 0x70}), 0, dice.Of<std::uint8_t>({0x40, 0x41}),
               dice.Of<std::uint8_t>({5, 9})});
  scenario.files[name] = text + ":00000001FF\r\n";
  scenario.images[name] = flash;
}

/// What one step does; in words and as an act.
struct Deed {
  std::string words;
  std::function<void(Session&)> act;
};

Deed TypeInto(TextBox Quillon::*box, const char* name, const char* text) {
  return {std::string("type \"") + text + "\" into " + name,
          [box, text](Session& s) { (s.tool.*box).SetText(text); }};
}

Deed Typing(Dice& dice) {
  switch (dice.Below(3)) {
    case 0:
      return TypeInto(&Quillon::Protocol, "Protocol",
                      dice.Of({"63", "63", "63", "64", "64", "", "4", "x", "255", "63\r\n9", "  63"}));
    case 1:
      return TypeInto(&Quillon::Text1, "Text1",
                      dice.Of({"50", "200", "500", "500", "1500", "0", "", "-5", "abc", "99999999999"}));
    default:
      return TypeInto(&Quillon::Text2, "Text2", dice.Of({"0", "10", "50", "-1", "x", "32768", ""}));
  }
}

Deed Ticking(Dice& dice) {
  const int number = dice.Below(kControllers);
  const bool ticked = dice.OneIn(2);
  switch (dice.Below(8)) {
    case 0:
      return {"press NONE", [](Session& s) { s.tool.NONE.Press(); }};
    case 1:
      if (dice.OneIn(4)) return {"press ALL", [](Session& s) { s.tool.ALL.Press(); }};
      [[fallthrough]];
    case 2:
      return {"tick RUD3", [ticked](Session& s) { s.tool.RUD3.SetValue(ticked); }};
    case 3:
      return {"tick useBB", [ticked](Session& s) {
                if (s.tool.useBB.Enabled()) s.tool.useBB.SetValue(ticked);
              }};
    case 4:
      return {"Shift F12, ChkProto", [ticked](Session& s) {
                s.tool.ReleaseKey(Form::Key::kF12, true);
                s.tool.ChkProto.SetValue(ticked);
              }};
    default:
      return {(ticked ? "tick " : "untick ") + std::to_string(number),
              [=](Session& s) { s.Tick(number, ticked); }};
  }
}

Deed Files(Dice& dice) {
  const char* file = dice.Of({"a.hex", "b.hex", "a.hex", "b.hex", "bad.hex", "missing.hex", "empty.hex", ""});
  switch (dice.Below(8)) {
    case 0:
      return {"b.hex is overwritten by a.hex", [](Session& s) { s.Overwrite("b.hex", "a.hex"); }};
    case 1:
      return {"a.hex goes", [](Session& s) { s.RemoveFile("a.hex"); }};
    default:
      return {std::string("choose ") + file, [file](Session& s) { s.Choose(file); }};
  }
}

Deed LineTrouble(Dice& dice) {
  const Nanoseconds howLong = dice.Below(20000) * 1ms;
  const std::uint64_t noiseSeed = dice.Any();
  switch (dice.Below(5)) {
    case 0:
      return {"the adapter is pulled", [=](Session& s) { s.PullAdapter(howLong); }};
    case 1:
      return {"another program has the port", [=](Session& s) { s.TakePort(howLong); }};
    case 2:
      return {"noise on the line", [=](Session& s) { s.AddNoise(noiseSeed, howLong / 4); }};
    case 3:
      return {"another controller refuses", [](Session& s) { s.RefuseAsOther(); }};
    default:
      return {"the adapter sends no bytes", [=](Session& s) { s.StallOutput(howLong); }};
  }
}

Deed Windows(Dice& dice) {
  switch (dice.Below(4)) {
    case 0:
      return {"close Info", [](Session& s) { s.tool.info.Close(); }};
    case 1:
      return {"close Message", [](Session& s) { s.Cancel(true); }};
    case 2:
      return {"select a port", [port = 1 + dice.Below(99)](Session& s) {
                s.tool.ComPort.SetText("COM " + std::to_string(port));
              }};
    default:
      return {"select a speed", [speed = dice.Of({"4800", "9600", "19200", "38400"})](Session& s) {
                s.tool.Vitesse.SetText(speed);
              }};
  }
}

Deed InventDeed(Dice& dice) {
  const int kind = dice.Below(100);
  if (kind < 36) {
    const int run = dice.Below(7);
    return {std::string("press ") + kRunNames[run], [run](Session& s) { s.Press(kRuns[run]); }};
  }
  if (kind < 48) return {"press Cancel", [](Session& s) { s.Cancel(false); }};
  if (kind < 57) return Typing(dice);
  if (kind < 70) return Ticking(dice);
  if (kind < 85) return Files(dice);
  if (kind < 91) return Windows(dice);
  if (kind < 97) return LineTrouble(dice);
  if (kind < 99) return {"untick Check1", [](Session& s) { s.tool.Check1.SetValue(0); }};
  return {"press Exit", [](Session& s) { s.Leave(); }};
}

/// Most sessions begin with a file. A held key does the same thing many times, 30 ms apart.
void InventSteps(Dice& dice, Scenario& scenario) {
  Nanoseconds at = 10ms;
  const bool calm = dice.OneIn(2);  // most runs come to their end
  const auto add = [&](const Deed& deed) { scenario.steps.push_back({at, deed.words, deed.act}); };
  if (!dice.OneIn(5)) add({"choose a.hex", [](Session& s) { s.Choose("a.hex"); }});
  for (int steps = 4 + dice.Below(30); steps > 0; --steps) {
    at += dice.Below(calm || dice.OneIn(6) ? 60000 : 3000) * 1ms;
    const Deed deed = InventDeed(dice);
    for (int repeats = dice.OneIn(12) ? 8 : 1; repeats > 0; --repeats, at += 30ms) add(deed);
  }
}

}  // namespace

Scenario Invent(std::uint64_t seed) {
  Dice dice(seed);
  Scenario scenario;
  scenario.seed = seed;
  InventBus(dice, scenario);
  InventSettings(dice, scenario);
  InventImage(dice, scenario, "a.hex");
  InventImage(dice, scenario, "b.hex");
  scenario.files["bad.hex"] = ":zz\r\n:1000000001\rno hex at all\n\n:FF00";
  scenario.files["empty.hex"] = "";
  scenario.images["empty.hex"] = Bytes(0x10000, 0xFF);
  scenario.files["Boot.ini"] = std::to_string(scenario.line.downloadBaud) + "\r\n";
  InventSteps(dice, scenario);
  return scenario;
}

}  // namespace quillon::soak
