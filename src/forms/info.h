#pragma once

#include <string>

#include "platform/controls.h"
#include "platform/form.h"

namespace quillon {

/// The table window: two fields for each of the 32 controllers, version and checksum or the text of a
/// failure. The windows keep the result of a controller nowhere else.
class Info final : public Form {
 public:
  explicit Info(Screen& screen);

  /// French, "title": the heading "Flash Info" or "Boot Info".
  Label Titre{*this,
              "Titre",
              {1200, 480, 1395, 330},
              {.text = "Flash Info", .fontBold = true, .centred = true, .fontPoints = 14.25}};
  /// The caption of the next field. Both are spelled so on purpose.
  Label Label41{*this, "Label41", {5160, 555, 945, 195}, {.text = "File Cheksum"}};
  /// The checksum of the file, with which the rows are compared; empty: no file.
  TextBox FileCheksum{*this,
                      "FileCheksum",
                      {6240, 495, 1335, 300},
                      {.backColor = colour::kLightGrey,
                       .fontBold = true,
                       .readOnly = true,
                       .centred = true,
                       .accessibleName = "File Cheksum"}};
  CommandButton ComClose{*this, "ComClose", {8280, 240, 975, 855}, {.text = "&Close", .picture = "close"}};

  // The fields of each controller, indexed by its number.
  ControlArray<TextBox> Ver;    ///< version
  ControlArray<TextBox> CkSum;  ///< checksum

  /// The rows that are not empty, a line for each: number, version and checksum, separated by tabs.
  std::string RowsText() const;

  /// "&Close", or closing the window: hides the table and clears its contents.
  void ComClose_Click() { Unload(); }

 private:
  void AddBlock(int firstController, int top);

  ControlArray<Label> captions_;
};

}  // namespace quillon
