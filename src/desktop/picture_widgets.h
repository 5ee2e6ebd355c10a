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

/// A push button with a picture above its wrapped caption. The picture is loaded after the first painting, so
/// as not to delay the window. A button that starts a run ignores keys during a key pause.
class PictureButton final : public QPushButton {
 public:
  PictureButton(std::string picture, bool startsRun, QWidget* parent);

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QRect ContentRect() const;
  QRect CaptionRect() const;
  void LoadPicture();

  std::string picture_;
  bool startsRun_;
  bool pictureRequested_ = false;
  QPixmap pixmap_;
};

/// A drop-down list. Opening it requests notes on its items. Typed digits select by the number in an item.
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
  /// Ignores the wheel of the mouse, which would change port or speed by accident.
  void wheelEvent(QWheelEvent* event) override { event->ignore(); }

 private:
  void SearchByNumber();

  bool searchesByNumber_ = false;
};

/// A check box. A click ticks it when it is unticked, and unticks it in any other state. An arrow key moves
/// the focus to the next box in the same row or column.
class TickBox final : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void nextCheckState() override {
    setCheckState(checkState() == Qt::Unchecked ? Qt::Checked : Qt::Unchecked);
  }
};

/// A group box whose caption interrupts the line around it, so that the contents have the whole area.
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

  /// Sets the filled part, from 0 to 1, and paints it at once.
  void SetShare(double share);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double share_ = 0;
};

/// A picture, scaled to its place. With the focus it has a frame and shows its tool tip.
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
