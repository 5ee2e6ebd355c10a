#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace quillon {

/// The released firmware files of a folder, by the checksum that a controller with them reports.
class KnownFirmware {
 public:
  KnownFirmware() = default;
  /// Reads all HEX files of a folder. Raises std::runtime_error for a folder that is not there.
  explicit KnownFirmware(const QString& folder);

  /// "pump_1.4.hex", "unknown: no released file has this checksum", or "two released files share it: ...".
  QString NameOf(const QString& checksum) const;

 private:
  QMap<QString, QStringList> names_;
};

}  // namespace quillon
