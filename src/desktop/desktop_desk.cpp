#include "desktop/desktop_desk.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QStringList>

#include "desktop/form_window.h"

namespace quillon {
namespace {

QWidget* OwnerWindow(const DesktopScreen& screen) {
  QWidget* active = QApplication::activeWindow();
  return active != nullptr ? active : screen.MainWindow();
}

QString WithLineBreaks(const std::string& text) {
  QString shown = QString::fromUtf8(text);
  return shown.replace("\r\n", "\n").replace('\r', '\n');
}

/// "Description (*.ext)|*.ext" in the words of the file dialog: "Description (*.ext)".
QString NameFilter(const std::string& filter) {
  const QStringList parts = QString::fromUtf8(filter).split('|');
  const QString description = parts.front().section('(', 0, 0).trimmed();
  return description + " (" + parts.back() + ")";
}

}  // namespace

void DesktopDesk::ShowBox(const std::string& text, const std::string& title) {
  const auto icon = title.ends_with("Error") ? QMessageBox::Warning : QMessageBox::Information;
  const QString shown = WithLineBreaks(text);
  QMessageBox box(icon, QString::fromUtf8(title), shown, QMessageBox::Ok, OwnerWindow(screen_));
  box.setTextFormat(Qt::PlainText);
  box.setWindowModality(Qt::ApplicationModal);
  box.exec();
}

void DesktopDesk::Beep() { QApplication::beep(); }

std::string DesktopDesk::ChooseFile(const std::string& title, const std::string& filter) {
  QFileDialog dialog(OwnerWindow(screen_), QString::fromUtf8(title));
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setFileMode(QFileDialog::ExistingFile);
  dialog.setNameFilter(NameFilter(filter));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return "";
  return QFile::encodeName(dialog.selectedFiles().front()).toStdString();
}

}  // namespace quillon
