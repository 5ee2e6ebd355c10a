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

/// Converts twips (1/1440 inch) to pixels of the screen, rounded: 15 twips are a pixel at 96 DPI.
int Pixels(int twips);

/// The picture `name` of the resources, scaled to fit into `size`. `scale` is the number of device pixels for
/// a pixel of the window. Returns a null picture for an unknown name.
QPixmap ScaledPicture(const std::string& name, QSize size, double scale);

}  // namespace quillon
