// Names the firmware of a controller by the checksum that the controller reports. The constructor computes
// the checksums of all HEX files in a folder, of which a controller reports the last four digits. Several
// files can have the same four digits; NameOf then returns all of them.
#include "report/known_firmware.h"

#include <QDir>
#include <stdexcept>

#include "image/analyse_image.h"

namespace quillon {

KnownFirmware::KnownFirmware(const QString& folder) {
  constexpr qsizetype kReportedDigits = 4;
  const QDir files(folder);
  if (!files.exists()) throw std::runtime_error("there is no folder \"" + folder.toStdString() + "\"");
  for (const QString& name : files.entryList({"*.hex"}, QDir::Files, QDir::Name)) {
    try {
      ImageFacts facts;
      const auto sum = AnalyseImage(LineReader::OfFile(files.filePath(name).toStdString()), facts);
      names_[QString::fromStdString(ChecksumText(sum)).right(kReportedDigits)].push_back(name);
    } catch (const RunError&) {
      // A file that can't be read is not a known one.
    }
  }
}

QString KnownFirmware::NameOf(const QString& checksum) const {
  const QStringList names = names_.value(checksum);
  if (names.isEmpty()) return "unknown: no released file has this checksum";
  if (names.size() == 1) return names.front();
  const QString count = names.size() == 2 ? "two" : QString::number(names.size());
  return count + " released files share it: " + names.join(", ");
}

}  // namespace quillon
