// Completes a download that was cut. The caller runs the steps that Next returns, and reports with SetReading
// what the controllers answered:
//
//     read all controllers with the protocol of the record
//     read those that did not answer with the protocol of the image, if that is another
//     load the controllers that need it, with the protocol that each has answered
//     load the silent controllers, one by one
//
// resume.h gives the reasons.
#include "records/resume.h"

#include <stdexcept>
#include <utility>

#include "image/analyse_image.h"
#include "platform/text_file.h"

namespace quillon {
namespace {

[[noreturn]] void Refuse(const QString& reason) { throw std::runtime_error(reason.toStdString()); }

/// The text for the box `Protocol`. It is one less than the protocol byte of the image, because the tool adds
/// one to the number in the box.
QString ImageProtocol(const std::string& contents) {
  ImageFacts facts;
  AnalyseImage(LineReader(contents), facts);
  bool isNumber = false;
  const int byte = QString::fromStdString(facts.ImageProtocol).toInt(&isNumber, 16);
  return isNumber && byte > 0 ? QString::number(byte - 1) : "";
}

}  // namespace

Resume::Resume(JobRecord record, const QString& protocol) : record_(std::move(record)) {
  if (record_.Kind() != "parallel" && record_.Kind() != "serial")
    Refuse("it is not the record of a download");
  const QString path = record_.File()["path"].toString();
  const std::string contents = ReadFile(path.toStdString());  // raises RunError
  if (Sha256(contents) != record_.File()["sha256"].toString())
    Refuse("the file \"" + path +
           "\" has changed since the recorded download; restore it, or start a new download");
  const QString recorded = record_.job["settings"].toObject()["protocol"].toString();
  protocols_.push_back(protocol.isEmpty() ? recorded : protocol);
  const QString imageProtocol = ImageProtocol(contents);
  if (!imageProtocol.isEmpty() && imageProtocol != protocols_[0]) protocols_.push_back(imageProtocol);
}

std::optional<Resume::Step> Resume::Next() {
  while (protocolsRead_ < protocols_.size()) {
    Step step{.load = false, .protocol = protocols_[protocolsRead_++], .controllers = SilentControllers()};
    if (!step.controllers.empty()) return step;
  }
  if (!loadSteps_) loadSteps_ = LoadSteps();
  if (loadSteps_->empty()) return std::nullopt;
  Step step = std::move(loadSteps_->front());
  loadSteps_->pop_front();
  return step;
}

void Resume::SetReading(int controller, const Evidence& evidence) {
  if (evidence.checksum.empty()) return;
  answers_[controller] = {protocols_[protocolsRead_ - 1], QString::fromStdString(evidence.checksum),
                          evidence.differentReadings || evidence.otherController};
}

std::vector<int> Resume::SilentControllers() const {
  std::vector<int> silent;
  for (const auto& [number, controller] : record_.controllers) {
    if (!answers_.contains(number)) silent.push_back(number);
  }
  return silent;
}

std::deque<Resume::Step> Resume::LoadSteps() const {
  std::deque<Step> steps;
  for (const QString& protocol : protocols_) {
    Step step{.load = true, .protocol = protocol, .controllers = {}};
    for (const auto& [number, answer] : answers_) {
      if (answer.protocol == protocol && MustLoad(number)) step.controllers.push_back(number);
    }
    if (!step.controllers.empty()) steps.push_back(std::move(step));
  }
  // Silent controllers may be erased: those answer no check, but they can be loaded.
  for (const int number : SilentControllers())
    steps.push_back({.load = true, .protocol = protocols_[0], .controllers = {number}});
  return steps;
}

bool Resume::MustLoad(int controller) const {
  const ControllerRecord& known = record_.controllers.at(controller);
  const Answer& answer = answers_.at(controller);
  // An erased controller that did not acknowledge every batch can lack a part of the image, even when its
  // 16-bit checksum matches by chance.
  const bool unproven = known.progress == ControllerRecord::Progress::kErased && !known.allAcknowledged;
  return unproven || known.lastChangeRefused || known.verdict == "contradictory" || answer.contradictory ||
         answer.checksum != record_.File()["checksum"].toString();
}

}  // namespace quillon
