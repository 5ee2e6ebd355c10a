#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QPixmap>
#include <QPushButton>
#include <QWheelEvent>
#include <QWidget>
#include <functional>
#include <string>

namespace quillon {

/// A push button with its picture above its caption; the caption breaks into lines where it has to. The
/// picture is drawn just after the first painting, so that a window need not wait for it. A button that
/// starts a run ignores keys in a key pause.
class PictureButton final : public QPushButton {
 public:
  PictureButton(std::string picture, bool startsRun, QWidget* parent);

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QRect Room() const;
  QRect CaptionRect() const;
  void LoadPicture();

  std::string picture_;
  bool startsRun_;
  bool pictureAsked_ = false;
  QPixmap pixmap_;
};

/// A drop-down list that asks for the notes on its items when it drops down, and not before. Typed digits
/// select the item whose number begins with them; letters select nothing.
class DropList final : public QComboBox {
 public:
  using QComboBox::QComboBox;

  void showPopup() override;
  void keyPressEvent(QKeyEvent* event) override;

  struct Note {
    QString toolTip;
    bool faint;
  };
  std::function<Note(int index)> noteOf;

 protected:
  /// The wheel turns nothing while the list is shut: a hand on it would change port or speed without a click.
  void wheelEvent(QWheelEvent* event) override { event->ignore(); }

 private:
  void SearchByNumber();

  bool searchesByNumber_ = false;
};

/// A check box whose click leads from unticked to ticked and from any other state to unticked. An arrow key
/// leads to the next box in its direction, as far as there is one in the same row or column.
class TickBox final : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void nextCheckState() override {
    setCheckState(checkState() == Qt::Unchecked ? Qt::Checked : Qt::Unchecked);
  }
};

/// A group box whose caption stands in the line around it, so that its contents keep the whole room.
class LineFrame final : public QGroupBox {
 public:
  using QGroupBox::QGroupBox;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

/// A thin bar, filled from the left.
class BarWidget final : public QWidget {
 public:
  using QWidget::QWidget;

  /// Paints it at once. `share` is from 0 to 1.
  void SetShare(double share);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double share_ = 0;
};

/// A picture, drawn as large as its place allows. With the focus it is framed, and shows its tool tip.
class PictureWidget final : public QWidget {
 public:
  PictureWidget(std::string picture, QWidget* parent) : QWidget(parent), picture_(std::move(picture)) {}

 protected:
  void focusInEvent(QFocusEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  std::string picture_;
  QPixmap pixmap_;
};

}  // namespace quillon
