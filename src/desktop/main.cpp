// The program `quillon`, the service window for controllers on a serial bus. This file prepares Qt, creates
// the windows (Program) and runs the event loop until the main window is closed. Job records are written only
// if the folder of the program has a folder `Jobs`.
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string_view>

#include "desktop/end_signals.h"
#include "desktop/key_repeat_filter.h"
#include "desktop/program.h"
#include "desktop/screen_reader.h"
#include "desktop/theme.h"
#include "platform/system_files.h"
#include "records/job_recorder.h"

namespace {

constexpr char kHelp[] = R"(SYNOPSIS
  quillon [OPTION]

DESCRIPTION
  Opens the service window, which loads firmware into controllers on a
  serial bus and shows which firmware they contain. F1 opens the manual.
  Settings and log are in the folder of the program. If that folder
  contains a symbolic link COM7, its target is used as port COM 7.

OPTIONS
  -h,--help               print this text
  --version               print the version

EXIT STATUS
  0   the program was ended
  1   it cannot start

EXAMPLES
  $ quillon --version
  quillon )" QUILLON_VERSION "\n";

/// The text that an option prints instead of opening the window, or nullptr. Other words are ignored.
const char* AnswerTo(std::string_view word) {
  if (word == "--version") return "quillon " QUILLON_VERSION "\n";
  return word == "--help" || word == "-h" ? kHelp : nullptr;
}

/// Handles the messages of Qt while the application is created. Without a display, or a plugin for it, Qt
/// would print a long message and abort. This prints one line instead.
void HandleStartMessage(QtMsgType kind, const QMessageLogContext&, const QString&) {
  if (kind != QtFatalMsg) return;
  std::fputs(
      "quillon: the display can't be reached. Start it from a desktop session; on Debian, with the package "
      "qt6-qpa-plugins installed.\n",
      stderr);
  std::_Exit(EXIT_FAILURE);
}

/// Ends the program as if the operator had closed the main window. Before that it closes open boxes and
/// dialogs, which would wait for an answer.
void End(quillon::Program& program) {
  for (QWidget* dialog; (dialog = QApplication::activeModalWidget()) != nullptr;) {
    if (!dialog->close()) break;
  }
  program.Close();
}

/// Shows that job records can't be written, in a box that does not block a run.
void ShowRecordFailure(const QString& text) {
  auto* box = new QMessageBox(QMessageBox::Warning, "Quillon", text);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setModal(false);
  box->show();
}

/// Creates the windows and serves them until the program is ended.
void RunWindows(QApplication& application) {
  QApplication::setQuitOnLastWindowClosed(false);  // Program::ServeUntilEnd decides when to end
  quillon::KeyRepeatFilter keyRepeatFilter;
  application.installEventFilter(&keyRepeatFilter);
  quillon::ApplyTheme(application);
  quillon::screen_reader::Install();
  const std::string folder = quillon::system_files::ProgramFolder();
  const QString records = QString::fromStdString(folder + "Jobs");
  std::optional<quillon::JobRecorder> recorder;
  quillon::Program program(folder);
  if (QDir(records).exists())
    program.AddObserver(recorder.emplace(records, folder, quillon::RecordLabels{}, ShowRecordFailure));
  // Signals and the end of the desktop (logout, shutdown) end the program properly: settings and log are
  // saved.
  const quillon::EndSignals endSignals([&] { End(program); });
  QObject::connect(&application, &QGuiApplication::commitDataRequest, [&] { End(program); });
  program.Start();
  program.ServeUntilEnd();
}

int Run(int argc, char** argv) {
  quillon::system_files::PrepareProcess();
  if (const char* answer = argc > 1 ? AnswerTo(argv[1]) : nullptr) {
    std::fputs(answer, stdout);
    return std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  }
  int argumentCount = argc > 0 ? 1 : 0;  // only the program's name: Qt would interpret other arguments
  qInstallMessageHandler(HandleStartMessage);
  QApplication application(argumentCount, argv);
  qInstallMessageHandler(nullptr);
  RunWindows(application);
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillon: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
