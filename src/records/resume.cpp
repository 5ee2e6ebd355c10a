// The steps: read with the old, then with the new protocol; load with old, with new; load silent ones.
#include "records/resume.h"

#include <stdexcept>
#include <utility>

#include "image/analyse_image.h"
#include "platform/text_file.h"

namespace quillon {
namespace {

[[noreturn]] void Refuse(const QString& reason) { throw std::runtime_error(reason.toStdString()); }

/// The text for the box `Protocol`: the protocol byte of the image less one.
QString ImageProtocol(const std::string& contents) {
  ImageFacts facts;
  AnalyseImage(LineReader(contents), facts);
  bool named = false;
  const int byte = QString::fromStdString(facts.ImageProtocol).toInt(&named, 16);
  return named && byte > 0 ? QString::number(byte - 1) : "";
}

}  // namespace

Resume::Resume(JobRecord record) : record_(std::move(record)) {
  if (record_.Kind() != "parallel" && record_.Kind() != "serial")
    Refuse("it is not the record of a download");
  const QString path = record_.File()["path"].toString();
  const std::string contents = ReadFile(path.toStdString());  // raises RunError
  if (Sha256(contents) != record_.File()["sha256"].toString())
    Refuse("the file \"" + path + "\" is not the one of the record; restore it, or start a new download");
  protocol_ = record_.job["settings"].toObject()["protocol"].toString();
  imageProtocol_ = ImageProtocol(contents);
}

std::optional<Resume::Step> Resume::Next() {
  Step step;
  const auto collect = [&](auto wanted) {
    for (const auto& [number, controller] : record_.controllers) {
      if (wanted(number)) step.controllers.push_back(number);
    }
  };
  const auto silent = [&](int number) { return !answers_.contains(number); };
  while (step.controllers.empty()) {
    switch (stage_++) {
      case 0:
        step = {false, protocol_, {}};
        collect([](int) { return true; });
        break;
      case 1:
        step = {false, imageProtocol_, {}};
        if (!imageProtocol_.isEmpty() && imageProtocol_ != protocol_) collect(silent);
        break;
      case 2:
        step = {true, protocol_, {}};
        collect([&](int n) { return !silent(n) && !answers_[n].byImageProtocol && MustLoad(n); });
        break;
      case 3:
        step = {true, imageProtocol_, {}};
        collect([&](int n) { return !silent(n) && answers_[n].byImageProtocol && MustLoad(n); });
        break;
      case 4:
        step = {true, protocol_, {}};
        collect(silent);
        break;
      default:
        return std::nullopt;
    }
  }
  return step;
}

void Resume::SetChecksum(int controller, const QString& checksum) {
  constexpr int kStageAfterImageProtocol = 2;
  answers_[controller] = {checksum, stage_ == kStageAfterImageProtocol};
}

bool Resume::MustLoad(int controller) const {
  const ControllerRecord& known = record_.controllers.at(controller);
  // Then it can lack a part of the image although the 16 bits of the checksum that it reports match.
  const bool unproven = known.progress == ControllerRecord::Progress::kErased && !known.allAcknowledged;
  return unproven || known.refused || known.verdict == "contradictory" ||
         answers_[controller].checksum != record_.File()["checksum"].toString();
}

}  // namespace quillon
