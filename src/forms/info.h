#pragma once

#include <string>

#include "platform/controls.h"
#include "platform/form.h"

namespace quillon {

/// The table of a run: one row of two fields for each of the 32 controllers. What a controller's outcome was
/// stands here and nowhere else.
class Info final : public Form {
 public:
  explicit Info(Screen& screen);

  Label Titre{*this,
              "Titre",
              {1200, 480, 1395, 330},
              {.text = "Flash Info", .fontBold = true, .centred = true, .fontPoints = 14.25}};
  Label Label41{*this, "Label41", {5160, 555, 945, 195}, {.text = "File Cheksum"}};
  /// The checksum that the rows are held against; empty: nothing to hold them against.
  TextBox FileCheksum{*this,
                      "FileCheksum",
                      {6240, 495, 1335, 300},
                      {.backColor = colour::kLightGrey,
                       .fontBold = true,
                       .readOnly = true,
                       .centred = true,
                       .accessibleName = "File Cheksum"}};
  CommandButton ComClose{*this, "ComClose", {8280, 240, 975, 855}, {.text = "&Close", .picture = "close"}};

  /// The first and the second field of a row, indexed by the controller's number.
  ControlArray<TextBox> Ver;
  ControlArray<TextBox> CkSum;

  /// The rows that are not empty, a line each: number, version and checksum, with tab stops between them.
  std::string RowsText() const;

  /// What "&Close" and closing the window do: the table goes, with its contents.
  void ComClose_Click() { Unload(); }

 private:
  void AddBlock(int firstController, int top);

  ControlArray<Label> captions_;
};

}  // namespace quillon
