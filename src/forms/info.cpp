// The table window shows the version (`Ver`) and the checksum (`CkSum`) of each controller, in four blocks of
// eight. All lengths are in twips, 1/1440 inch.
//
//     Version   [ Ver(0)   ] [ Ver(1)   ] ... [ Ver(7)   ]
//     Cheksum   [ CkSum(0) ] [ CkSum(1) ] ... [ CkSum(7) ]
//                    0            1                7
#include "forms/info.h"

#include <string>

namespace quillon {
namespace {

constexpr int kControllersInBlock = 8;
constexpr int kBlocks = 4;
constexpr int kFirstBlockTop = 1440;
constexpr int kBlockPitch = 1200;
constexpr int kLinePitch = 360;
constexpr int kFirstFieldLeft = 960;
constexpr int kFieldPitch = 1080;
constexpr int kFieldWidth = 855;
constexpr int kFieldHeight = 285;
constexpr int kCaptionHeight = 195;
constexpr int kCaptionDrop = 45;  // aligns the base lines of a caption and the field beside it

}  // namespace

Info::Info(Screen& screen) : Form(screen, "Info", "Flash Info", Border::kSizable, 9450, 6375) {
  for (int block = 0; block < kBlocks; ++block) {
    AddBlock(block * kControllersInBlock, kFirstBlockTop + block * kBlockPitch);
  }
  ComClose.Click = [this] { ComClose_Click(); };
  CloseRequest = [this] { ComClose_Click(); };
  CopyText = [this] { return RowsText(); };
}

std::string Info::RowsText() const {
  std::string rows;
  for (int controller = 0; controller < kControllersInBlock * kBlocks; ++controller) {
    if (Ver(controller).Text().empty() && CkSum(controller).Text().empty()) continue;
    rows +=
        std::to_string(controller) + "\t" + Ver(controller).Text() + "\t" + CkSum(controller).Text() + "\n";
  }
  return rows;
}

void Info::AddBlock(int firstController, int top) {
  const int sumTop = top + kLinePitch;
  const int numberTop = sumTop + kLinePitch;
  captions_.Add(*this, "Caption", {240, top + kCaptionDrop, 615, kCaptionHeight}, {.text = "Version"});
  captions_.Add(*this, "Caption", {120, sumTop + kCaptionDrop, 735, kCaptionHeight}, {.text = "Cheksum"});
  for (int column = 0; column < kControllersInBlock; ++column) {
    const std::string number = std::to_string(firstController + column);
    const std::string version = "Version " + number;
    const std::string checksum = "Cheksum " + number;
    const int left = kFirstFieldLeft + column * kFieldPitch;
    Ver.Add(*this, "Ver", {left, top, kFieldWidth, kFieldHeight},
            {.readOnly = true, .centred = true, .accessibleName = version});
    CkSum.Add(*this, "CkSum", {left, sumTop, kFieldWidth, kFieldHeight},
              {.readOnly = true, .centred = true, .accessibleName = checksum});
    captions_.Add(*this, "Caption", {left, numberTop, kFieldWidth, kCaptionHeight},
                  {.text = number, .centred = true});
  }
}

}  // namespace quillon
