// Turns the events of a run into the lines of its job record, one JSON object each:
//
//     RunStarted                     "job", the settings and the file
//     ControllerBegun, -Ended        "begun", "ended"
//     BatchBegun                     "batch", about 16 lines for each pass over the image
//     answers, failures, repeats     a line each, up to a limit
//     RunEnded                       a "result" for each controller, then "end"
//
// The arrays of names below are in the order of the enumerations.
#include "records/job_recorder.h"

#include <QDateTime>
#include <filesystem>

#include "image/batch_reader.h"
#include "platform/text_file.h"
#include "records/job_record.h"
#include "results/gap.h"

namespace quillon {
namespace {

constexpr int kMostListed = 20;     // most lines of one kind for each controller
constexpr int kProgressSteps = 16;  // number of lines that count the batches of a pass

constexpr const char* kKinds[] = {"parallel", "serial",        "flash-info",   "boot-info",
                                  "auto",     "to-protocol-4", "to-protocol-3"};
constexpr const char* kPhases[] = {"erase", "program", "confirm", "check", "boot-check", "detect", "switch"};
constexpr const char* kCommands[] = {"flash-check", "erase",         "batch",        "full-checksum",
                                     "boot-check",  "to-protocol-4", "to-protocol-3"};
constexpr const char* kReplies[] = {"accepted", "refused", "no-answer", "damaged", "cancelled"};
constexpr const char* kEnds[] = {"finished", "cancelled", "failed", "aborted"};

template <class Enum, std::size_t N>
QString Name(const char* const (&names)[N], Enum value) {
  return names[static_cast<std::size_t>(value)];
}

QString Text(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

QList<RecordLines::Line> RecordLines::Of(const RunEvent& event) {
  lines_.clear();
  time_ = event.time;
  results_.OnRunEvent(event);
  std::visit([this](const auto& what) { Add(what); }, event.what);
  return lines_;
}

void RecordLines::Put(const char* event, QJsonObject fields, bool flush) {
  lines_.push_back({RecordLine(event, time_ - began_, std::move(fields)), flush});
}

void RecordLines::PutLimited(int controller, const QString& kind, const char* event, QJsonObject fields) {
  if (++tallies_[controller].listed[kind] > kMostListed) return;
  fields["controller"] = controller;
  if (batch_ != 0) fields["batch"] = batch_;
  Put(event, std::move(fields));
}

/// The facts about the file of the run, without size, hash and batches if it can't be read.
QJsonObject RecordLines::FileFacts() {
  QJsonObject file{{"path", labels_.file.isEmpty() ? Text(run_.file) : labels_.file},
                   {"checksum", Text(run_.fileChecksum)}};
  if (!run_.fileFault.empty()) file["fault"] = Text(run_.fileFault);
  sums_.reset();
  try {
    const std::string contents = ReadFile(run_.file);
    file["bytes"] = static_cast<qint64>(contents.size());
    file["sha256"] = Sha256(contents);
    file["batches"] = CountBatches(contents);
    sums_.emplace(contents);
  } catch (const RunError&) {
    // The run itself reports the error.
  }
  return file;
}

void RecordLines::Add(const RunStarted& e) {
  tallies_.clear();
  began_ = time_;
  run_ = e;
  underWay_ = true;
  current_ = kEveryController;
  batch_ = batchesSent_ = errors_ = 0;
  sums_.reset();
  for (const int controller : e.controllers) {
    if (e.kind != RunKind::kAuto) tallies_[controller].before = known_[controller];
  }
  QJsonObject job = JobFields({.kind = Name(kKinds, e.kind),
                               .tool = "quillon " QUILLON_VERSION,
                               .began = QDateTime::currentDateTimeUtc(),
                               .port = Text(e.port),
                               .controllers = e.controllers,
                               .settings = {{"speed", Text(e.speed)},
                                            {"timeout", Text(e.timeOut)},
                                            {"delay", Text(e.delay)},
                                            {"protocol", Text(e.protocol)},
                                            {"prot3", e.prot3},
                                            {"keepSpeed", e.keepSpeed}}},
                              folder_);
  if (!e.file.empty()) job["file"] = FileFacts();
  if (!labels_.by.isEmpty()) job["by"] = labels_.by;
  Put("job", std::move(job), true);
}

void RecordLines::Add(const ControllerBegun& e) {
  current_ = e.controller;
  if (e.phase != Phase::kConfirm || run_.kind == RunKind::kParallel) batch_ = 0;
  if (e.phase != Phase::kDetect)
    Put("begun", {{"controller", e.controller}, {"phase", Name(kPhases, e.phase)}}, true);
}

void RecordLines::Add(const ControllerEnded& e) {
  batch_ = 0;
  if (e.phase != Phase::kDetect)
    Put("ended", {{"controller", e.controller}, {"phase", Name(kPhases, e.phase)}}, true);
}

void RecordLines::Add(const ControllerFound& e) {
  tallies_[e.controller];
  Put("found", {{"controller", e.controller}, {"speed", Text(e.speed)}}, true);
}

void RecordLines::Add(const FrameSent& e) {
  if (e.send < 2 || !tallies_.contains(current_)) return;
  ++tallies_[current_].repeats;
  PutLimited(current_, "repeat", "repeat", {{"send", e.send}});
}

void RecordLines::Add(const AnswerReceived& e) {
  if (!tallies_.contains(e.controller)) return;
  const std::optional<int> address = e.Address();
  if (e.judgement == Judgement::kDamaged) {
    ++tallies_[e.controller].damaged;
    PutLimited(e.controller, "damaged-answer", "damaged-answer", {});
  } else if (e.judgement == Judgement::kGood && address && *address != e.controller &&
             *address < kControllers) {
    PutLimited(e.controller, "other-address", "other-address", {{"address", *address}});
  }
}

void RecordLines::Add(const CommandAnswered& e) {
  if (!tallies_.contains(e.controller)) return;
  Tally& tally = tallies_[e.controller];
  const bool accepted = e.reply == Reply::kAccepted;
  if (e.reply == Reply::kRefused) ++tally.refusals;
  if (e.reply == Reply::kNoAnswer) ++tally.unanswered;
  if (e.command == Command::kBatch && accepted) {
    ++tally.acknowledged;
    return;
  }
  const QString command = Name(kCommands, e.command);
  const QString reply = Name(kReplies, e.reply);
  PutLimited(e.controller, command + reply, "answer", {{"command", command}, {"reply", reply}});
}

void RecordLines::Add(const BatchBegun& e) {
  batch_ = e.number;
  const auto step = [&](int number) { return number * kProgressSteps / std::max(e.of, 1); };
  if (e.controller == kEveryController) batchesSent_ = e.number;
  // Lines only for the first and the last batch, and whenever another sixteenth of the pass has begun.
  if (e.number != 1 && e.number != e.of && step(e.number) == step(e.number - 1)) return;
  QJsonObject fields{{"begun", e.number}, {"of", e.of}};
  if (e.controller != kEveryController) fields["controller"] = e.controller;
  Put("batch", std::move(fields));
}

void RecordLines::Add(const RowFilled& e) {
  if (e.content == RowContent::kNothing || !tallies_.contains(e.controller)) return;
  const QJsonObject row{{"version", Text(e.version)}, {"checksum", Text(e.checksum)}};
  if (e.content == RowContent::kFailure) {
    const QString text = Text(e.version + " " + e.checksum);
    return PutLimited(e.controller, "failure" + text, "failure", {{"text", text}});
  }
  const bool flash = e.content == RowContent::kFlash;
  if (flash) known_[e.controller] = row;
  tallies_[e.controller].after = row;
  PutLimited(e.controller, "read", "read",
             {{"of", flash ? "flash" : "boot"}, {"version", row["version"]}, {"checksum", row["checksum"]}});
}

void RecordLines::Add(const RunFailure& e) {
  if (underWay_ && ++errors_ <= kMostListed) Put("error", {{"number", e.number}, {"text", Text(e.text)}});
}

MissingBatches RecordLines::PutResult(int controller, const Tally& tally) {
  QJsonObject result{{"controller", controller}, {"acknowledged", tally.acknowledged},
                     {"repeats", tally.repeats}, {"refusals", tally.refusals},
                     {"damaged", tally.damaged}, {"unanswered", tally.unanswered}};
  AddVerdict(results_.VerdictOf(controller), result);
  if (!tally.before.isEmpty()) result["before"] = tally.before;
  if (!tally.after.isEmpty()) result["after"] = tally.after;
  const MissingBatches missing = sums_ ? GapOf(results_.EvidenceOf(controller), *sums_) : MissingBatches{};
  const std::string gap = DescribeMissing(missing, std::filesystem::path(run_.file).filename().string());
  if (!gap.empty()) result["gap"] = Text(gap);
  Put("result", std::move(result));
  return missing;
}

void RecordLines::Add(const RunEnded& e) {
  std::vector<MissingBatches> gaps;
  for (const auto& [controller, tally] : tallies_) gaps.push_back(PutResult(controller, tally));
  QJsonObject end{{"how", Name(kEnds, e.how)}, {"batches", batchesSent_}, {"errors", errors_}};
  if (const std::string common = SuggestCause(gaps); !common.empty()) end["gaps"] = Text(common);
  Put("end", std::move(end), true);
  underWay_ = false;
}

void JobRecorder::OnRunEvent(const RunEvent& event) {
  for (const RecordLines::Line& line : lines_.Of(event)) writer_.Write(line.fields, line.flush);
}

}  // namespace quillon
