#include "technician.h"

#include <QApplication>
#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/test_program.h"

namespace quillon::test {

namespace {

std::vector<std::string> BusWords(const std::string& folder, const std::vector<std::string>& options) {
  std::vector<std::string> words{QUILLON_BUS, "--link", folder + "COM7", "--log", folder + "bus.log"};
  words.insert(words.end(), options.begin(), options.end());
  return words;
}

}  // namespace

Technician::Technician(const std::vector<std::string>& busOptions, const Settings& settings)
    : bus_(BusWords(Path(""), busOptions)) {
  const std::string line = bus_.ReadLine();
  if (!line.starts_with("bus: ")) throw std::runtime_error("the virtual bus does not start: " + line);
  WriteSettings(settings);
  program_.emplace(Path(""));
  program_->Start();
}

Technician::~Technician() {
  // A program that ends makes the application quit. The next file dialog needs it to run again.
  QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(); });
  QCoreApplication::exec();
  bus_.End(SIGTERM);
}

void Technician::WriteSettings(const Settings& settings) const {
  std::ofstream file(Path("Quillon.cfg"), std::ios::binary);
  file << settings.timeout << "\r\nCOM 7\r\n9600\r\n";
  for (int i = 0; i < kControllers; ++i) file << std::ranges::count(settings.controllers, i) << "\r\n";
  file << settings.delay << "\r\n63\r\n 0 \r\n 0 \r\n";
}

void Technician::ChooseFirmware(std::size_t firstBytes, std::size_t secondBytes) {
  constexpr std::size_t kRecordBytes = 16;
  constexpr std::size_t kMetadata = 0x2010;
  Bytes flash(0x2000 + secondBytes);
  for (std::size_t i = 0; i < flash.size(); ++i) flash[i] = static_cast<std::uint8_t>(i * 37 + i / 256);
  std::ranges::copy(FromHex("0000000000313200303500333100000010004002"), flash.begin() + kMetadata);
  std::ofstream file(Path("image.hex"), std::ios::binary);
  file << ":020000040000FA\n";
  for (const auto& [begin, size] :
       {std::pair{std::size_t{0}, firstBytes}, {std::size_t{0x2000}, secondBytes}}) {
    for (std::size_t at = begin; at < begin + size; at += kRecordBytes) {
      const Bytes data(&flash[at], &flash[at] + std::min(kRecordBytes, begin + size - at));
      file << HexRecord(static_cast<unsigned>(at), data) << "\n";
    }
  }
  file << ":00000001FF\n";
  file.close();
  ChooseFile(folder_.filePath("image.hex"));
}

std::vector<std::string> Technician::Frames() const {
  std::ifstream log(Path("bus.log"));
  std::vector<std::string> frames;
  for (std::string line; std::getline(log, line);) {
    std::istringstream fields(line);
    std::string time, baud, format, who, byte, frame;
    fields >> time >> baud >> format >> who;
    if (who != "tool") continue;
    while (fields >> byte) frame += byte;
    frames.push_back(baud + " " + format + " " + frame);
  }
  return frames;
}

}  // namespace quillon::test
