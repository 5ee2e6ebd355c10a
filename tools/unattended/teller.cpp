#include "unattended/teller.h"

#include <QJsonDocument>
#include <cmath>
#include <cstdio>

#include "unattended/console.h"

namespace quillon {
namespace {

constexpr int kProgressWidth = 79;  // the narrowest terminals have 80 columns

}  // namespace

double Rounded(double seconds) { return std::round(seconds * 1000) / 1000; }

Teller::Teller(Form form)
    : form_(form),
      progress_(console::IsTerminal(stderr)),
      sameScreen_(progress_ && console::IsTerminal(stdout)) {
  clock_.start();
}

void Teller::Tell(const QString& event, const QString& text, QJsonObject facts) {
  if (form_ == Form::kText) {
    Write(QString("%1  %2").arg(Seconds(), 8, 'f', 3).arg(text).toUtf8());
    return;
  }
  facts["event"] = event;
  facts["time"] = Rounded(Seconds());
  Write(QJsonDocument(facts).toJson(QJsonDocument::Compact));
}

void Teller::TellStatus(const QString& text, QJsonObject facts) {
  if (sameScreen_ && form_ == Form::kText) return;
  facts["text"] = text;
  Tell("status", text, facts);
}

void Teller::Explain(const QString& text) {
  if (form_ == Form::kText) Write((QString(10, ' ') + text).toUtf8());
}

void Teller::ShowProgress(const QString& line) {
  const QString cut = line.left(kProgressWidth);
  if (!progress_ || cut == shown_) return;
  shown_ = cut;
  std::fprintf(stderr, "\r%s\r%s", qUtf8Printable(QString(kProgressWidth, ' ')), qUtf8Printable(cut));
  std::fflush(stderr);
}

void Teller::Write(const QByteArray& line) {
  const QString progress = shown_;
  if (sameScreen_) ShowProgress("");
  std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
  std::fputc('\n', stdout);
  if (std::fflush(stdout) != 0) whole_ = false;
  if (sameScreen_) ShowProgress(progress);
}

}  // namespace quillon
