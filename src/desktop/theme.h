#pragma once

#include <QFont>
#include <QPixmap>
#include <QSize>
#include <string>

class QApplication;

namespace quillon {

/// Gives the tool the same appearance on every desktop: light, with small controls that fit the forms.
void ApplyTheme(QApplication& application);

/// Sets the tool's icon, drawn in several sizes, for all its windows.
void SetWindowIcon();

/// The font of a control: Arial, or Liberation Sans, which has the same widths.
QFont ControlFont(double points, bool bold);

/// Pixels for `twips` at the screen's logical resolution, to the nearest: 15 twips a pixel at 96 DPI.
int Pixels(int twips);

/// The picture `name` of the resources, as large as it can be within `size` (in pixels of the window).
/// `scale` is the number of device pixels to a pixel of the window. For an unknown name a null picture is
/// returned.
QPixmap DrawnPicture(const std::string& name, QSize size, double scale);

}  // namespace quillon
