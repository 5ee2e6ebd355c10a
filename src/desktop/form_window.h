#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "desktop/control_widgets.h"
#include "platform/form.h"

namespace quillon {

/// The window of one form. When the operator closes it, only the form is notified; Hide hides the window.
class FormWindow final : public QWidget, public FormView {
 public:
  /// Creates the widgets of all controls. `owner` is the owner of a dialog, else nullptr.
  FormWindow(Form& form, FormWindow* owner);

  const Form& GetForm() const { return form_; }

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
  /// Receives the events of the window, keys included, before its controls.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* AddScrolledContents();
  bool HandlePressFromPopup(QObject* receiver, const QMouseEvent& press);
  void DrawEdge();
  void ShowInPlace();
  QSize SizeWithin(QSize available) const;
  void BringToFront();
  void RaiseDeferred();
  bool HandleKey(const QKeyEvent& key);
  bool CopyText() const;

  Form& form_;
  ControlViews views_;
  bool raisePending_ = false;
};

/// Creates the window of a form when it is first shown. Must outlive the forms.
class DesktopScreen final : public Screen {
 public:
  DesktopScreen() = default;
  DesktopScreen(const DesktopScreen&) = delete;
  DesktopScreen& operator=(const DesktopScreen&) = delete;
  ~DesktopScreen() override;

  void Draw(Form& form) override;

  /// The window that was created first, or nullptr.
  FormWindow* MainWindow() const { return windows_.empty() ? nullptr : windows_.front().get(); }

  /// The window of the dialog that is shown now, or nullptr.
  FormWindow* OpenDialog() const;

 private:
  std::vector<std::unique_ptr<FormWindow>> windows_;  // an owner is before its dialogs
};

}  // namespace quillon
