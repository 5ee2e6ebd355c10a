#pragma once

#include <QApplication>
#include <QColor>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <stdexcept>
#include <vector>

class QFileDialog;
class QMessageBox;

namespace quillon {

/// Operates the windows of this process on behalf of an operator. It uses only what an operator can see: the
/// names of windows, the accessible names of controls, the texts and colours that are shown. Boxes are
/// answered and the file dialog is filled automatically while events are served.
class WindowDriver : public QObject {
 public:
  WindowDriver();

  // Input. Each throws std::runtime_error with the name of the control when it fails.

  /// Presses a button, and returns when the run that it starts has ended and the windows show the result.
  void Press(const QString& window, const QString& name);
  /// The same, but returns as soon as the run has ended.
  void Click(const QString& window, const QString& name);
  /// Stops looking at the windows, so that a measurement does not include it. Boxes are no longer answered.
  void StopLooking();
  /// Ticks or unticks a box of the main window. The next two are of the main window too.
  void Tick(const QString& name, bool ticked);
  void Type(const QString& name, const QString& text);
  void Select(const QString& name, const QString& item);
  /// Presses "Browse ...", types the whole path into the file dialog and presses Open, once.
  void ChooseFile(const QString& path);

  // Output.

  /// The text of a text box or list; empty while it is hidden.
  QString Text(const QString& window, const QString& name) const;
  bool Ticked(const QString& name) const;
  bool Enabled(const QString& window, const QString& name) const;
  /// The tool tip of a control; empty while the control is hidden.
  QString ToolTip(const QString& window, const QString& name) const;
  static bool Shows(const QString& window);
  /// The status line of the progress window; empty while that is hidden.
  QString Status() const;

  struct Row {
    QString version;
    QString checksum;
    QColor versionText;
    QColor checksumText;
    QColor checksumBack;
  };
  /// The row of a controller in `Info`, which must have been shown before.
  Row RowOf(int controller) const;

  /// The window of this name, shown or not; nullptr before it was shown for the first time.
  static QWidget* Window(const QString& name);
  static QString ControllerName(int number) { return "Controller " + QString::number(number); }

  /// Reads the status line whenever it is painted, so that none is missed.
  bool eventFilter(QObject* watched, QEvent* event) override;

 protected:
  // Called for what happens in the windows.

  /// A box is shown; it is answered when this returns.
  virtual void OnBox(QMessageBox& box) = 0;
  /// A question is shown. Returns whether the answer is Yes.
  virtual bool OnQuestion(QMessageBox& /*box*/) { return true; }
  /// The status line shows something else than before.
  virtual void OnStatus(const QString& /*line*/) {}
  /// A look at the windows, many times a second.
  virtual void OnLook() {}

 private:
  template <class Widget>
  static Widget* Find(const QString& window, const QString& name);
  static void Settle();
  void Look();
  void AnswerBox(QMessageBox& box);
  void ServeFileDialog(QFileDialog& dialog);

  QTimer watch_;
  QString status_;
  QString fileToChoose_;
  bool fileRefused_ = false;
  int presses_ = 0;  // a look can press while a press waits for its run
};

}  // namespace quillon
