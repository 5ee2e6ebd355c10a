#pragma once

#include "platform/controls.h"
#include "platform/form.h"

namespace quillon {

/// The progress window of a run: a status line, a picture for its state, a progress bar and Cancel.
class Message final : public Form {
 public:
  Message(Screen& screen, const Form& owner)
      : Form(screen, "Message", "", Border::kDialog, 5970, 1215, &owner) {}

  /// The status line, such as "Controller 5 : Erasing  (Speed : 9600 Bds) ...".
  Label Label1{*this, "Label1", {1050, 360, 5500, 195}, {.fontBold = true}};
  /// Cancels the run.
  CommandButton Command1{*this, "Command1", {2350, 750, 1215, 375}, {.text = "Cancel", .fontBold = true}};

  // The pictures lie in one place, and one is visible: `Inquiet` (French, "uneasy") during work, `Stop` for a
  // failure, `Jumelle` (French, "binoculars") while Auto searches.
  Picture Inquiet{
      *this, "Inquiet", {200, 100, 780, 765}, {.accessibleName = "Work in progress", .picture = "inquiet"}};
  Picture Stop{*this,
               "Stop",
               {200, 150, 600, 600},
               {.visible = false, .accessibleName = "Failure", .picture = "stop"}};
  Picture Jumelle{*this,
                  "Jumelle",
                  {270, 210, 240, 240},
                  {.visible = false, .accessibleName = "Searching", .picture = "jumelle"}};

  /// Along the lower edge: the part of the image that was sent.
  ProgressBar Sent{*this, "Sent", {15, 1155, 5940, 45}, {.visible = false}};

  /// Shows that batch `batch` of `batches` is being sent. Hides the bar when `batches` is 0.
  void ShowSent(int batch, int batches) {
    Sent.SetVisible(batches > 0);
    if (batches > 0) Sent.SetValue(ProgressBar::kWhole * batch / batches);
  }

  /// Makes `shown` the only visible picture.
  void ShowPicture(const Picture& shown) {
    for (Picture* picture : {&Inquiet, &Stop, &Jumelle}) picture->SetVisible(picture == &shown);
  }
};

}  // namespace quillon
