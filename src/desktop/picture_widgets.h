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
/// picture is drawn just after the first painting, so that a window need not wait for it.
class PictureButton final : public QPushButton {
 public:
  PictureButton(std::string picture, QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QRect Room() const;
  QRect CaptionRect() const;
  void LoadPicture();

  std::string picture_;
  bool pictureAsked_ = false;
  QPixmap pixmap_;
};

/// A drop-down list that asks for the notes on its items when it drops down, and not before.
class DropList final : public QComboBox {
 public:
  using QComboBox::QComboBox;

  void showPopup() override;

  struct Note {
    QString toolTip;
    bool faint;
  };
  std::function<Note(int index)> noteOf;

 protected:
  /// The wheel turns nothing while the list is shut: a hand on it would change port or speed without a click.
  void wheelEvent(QWheelEvent* event) override { event->ignore(); }
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

/// A picture, drawn as large as its place allows.
class PictureWidget final : public QWidget {
 public:
  PictureWidget(std::string picture, QWidget* parent) : QWidget(parent), picture_(std::move(picture)) {}

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::string picture_;
  QPixmap pixmap_;
};

}  // namespace quillon
