#pragma once

#include "platform/controls.h"
#include "platform/form.h"

namespace quillon {

/// The progress of a run: a line of text, a picture of how it stands, and Cancel.
class Message final : public Form {
 public:
  Message(Screen& screen, const Form& owner)
      : Form(screen, "Message", "", Border::kDialog, 5970, 1215, &owner) {}

  Label Label1{*this, "Label1", {1050, 360, 5500, 195}, {.fontBold = true}};
  CommandButton Command1{*this, "Command1", {2350, 750, 1215, 375}, {.text = "Cancel", .fontBold = true}};

  // Three pictures in one place; after any preparation of the window one of them is visible.
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

  /// Along the lower edge: how much of the image is sent.
  ProgressBar Sent{*this, "Sent", {15, 1155, 5940, 45}, {.visible = false}};

  /// Batch number `batch` of `batches` is on its way. With 0 batches nothing is shown.
  void ShowSent(int batch, int batches) {
    Sent.SetVisible(batches > 0);
    if (batches > 0) Sent.SetValue(ProgressBar::kWhole * batch / batches);
  }

  /// Makes `shown` the one visible picture.
  void ShowPicture(const Picture& shown) {
    for (Picture* picture : {&Inquiet, &Stop, &Jumelle}) picture->SetVisible(picture == &shown);
  }
};

}  // namespace quillon
