// The pages that quillon-report prints, from the sample record of docs/job-record.md.
#include "report/report.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "platform/text_file.h"

namespace quillon::test {
namespace {

using testing::HasSubstr;

JobRecord Sample() {
  QByteArray sample;
  for (const QByteArray& line : QByteArray::fromStdString(ReadFile(QUILLON_RECORD_FORMAT)).split('\n')) {
    if (line.startsWith('{')) sample += line + '\n';
  }
  return ParseRecord(sample);
}

TEST(Report, NamesWhatControllersHoldAndWhatToDo) {
  const KnownFirmware known(QUILLON_SAMPLES);
  const Report report = MakeReport(Sample(), "a.jsonl", &known);
  const std::string text = AsText(report).toStdString();
  EXPECT_THAT(text,
              testing::ContainsRegex("\n3    12/04/02 91C4  12/05/31 6E8C  demo.hex .* good .confirmed.\n"));
  EXPECT_THAT(text, testing::ContainsRegex("\n5 .* 12/05/31 C28C  unknown .* not-programmed .1.\n"));
  EXPECT_THAT(
      text,
      HasSubstr("\n[1] not-programmed; it reports the checksum C28C, not 6E8C of the file; the checksum "
                "fits if batch 17 is missing; load it again with a serial download\n"));
  EXPECT_THAT(text, HasSubstr("\n[2] unknown: no released file has this checksum\n1 of 2 controllers"));
  EXPECT_THAT(AsHtml({report}).toStdString(), HasSubstr("<td>not-programmed [1]</td></tr>"));
  EXPECT_THAT(
      AsCsv(Sample(), &known).toStdString(),
      HasSubstr(",5,,,12/05/31,C28C,unknown: no released file has this checksum,0,0,3,0,0,not-programmed,,"
                "\"it reports the checksum C28C, not 6E8C of the file\",load it again"));
}

TEST(Report, DistinguishesFilesWithOneChecksum) {
  const QTemporaryDir folder;
  for (const char* name : {"a.hex", "b.hex"}) QFile::copy(QUILLON_SAMPLES "/demo.hex", folder.filePath(name));
  EXPECT_EQ(KnownFirmware(folder.path()).NameOf("6E8C"), "two released files share it: a.hex, b.hex");
  EXPECT_THROW(KnownFirmware(folder.filePath("none")), std::runtime_error);
}

}  // namespace
}  // namespace quillon::test
