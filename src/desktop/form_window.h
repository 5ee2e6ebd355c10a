#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "desktop/control_widgets.h"
#include "platform/form.h"

namespace quillon {

/// The window of one form. Closing it is left to the form: the window itself never goes by the operator's
/// hand, only by Hide.
class FormWindow final : public QWidget, public FormView {
 public:
  /// `owner` is the window that a dialog belongs to, else nullptr. Draws all controls; shows nothing yet.
  FormWindow(Form& form, FormWindow* owner);

  const Form& TheForm() const { return form_; }

  // FormView
  void Show() override;
  void Hide() override;
  void RefreshCaption() override;
  void RefreshMousePointer() override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void changeEvent(QEvent* event) override;
  /// Receives the events of the window itself, keys among them, before any control does.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* AddScrolledContents();
  void DrawEdge();
  void ShowInPlace();
  QSize SizeWithin(QSize room) const;
  void ComeToFront();
  void RaiseLate();
  bool TakeKey(const QKeyEvent& key);
  bool CopyText() const;

  Form& form_;
  ControlViews views_;
  bool raisingLate_ = false;
};

/// Draws a form as a window when it is first shown. It must outlive the forms.
class DesktopScreen final : public Screen {
 public:
  DesktopScreen() = default;
  DesktopScreen(const DesktopScreen&) = delete;
  DesktopScreen& operator=(const DesktopScreen&) = delete;
  ~DesktopScreen() override;

  void Draw(Form& form) override;

  /// The window that was drawn first; nullptr before.
  FormWindow* MainWindow() const { return windows_.empty() ? nullptr : windows_.front().get(); }

  /// The window of a dialog that is shown now; nullptr when there is none.
  FormWindow* OpenDialog() const;

 private:
  std::vector<std::unique_ptr<FormWindow>> windows_;  // an owner stands before its dialogs
};

}  // namespace quillon
