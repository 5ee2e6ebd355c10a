#include "desktop/port_names.h"

#include <gtest/gtest.h>

#include <fstream>

#include "scratch_folder.h"

namespace quillon {
namespace {

TEST(PortNames, NumbersStandForTheDevicesOfTheirKind) {
  const ScratchFolder folder;
  const struct {
    int number;
    const char* device;
  } cases[] = {
      {1, "/dev/ttyS0"},
      {32, "/dev/ttyS31"},
      {33, "/dev/ttyUSB0"},
      {64, "/dev/ttyUSB31"},
      {65, "/dev/ttyACM0"},
      {96, "/dev/ttyACM31"},
      {97, ""},
      {99, ""},
  };
  for (const auto& row : cases) EXPECT_EQ(PortDevice(folder.Path(), row.number), row.device) << row.number;
}

TEST(PortNames, LinkBesideTheProgramComesFirst) {
  ScratchFolder folder;
  folder.Link("COM7", "/dev/null");
  folder.Link("COM97", "/dev/pulled-out");
  std::ofstream(folder.Path() + "COM8") << "a file is no link";

  EXPECT_EQ(PortDevice(folder.Path(), 7), folder.Path() + "COM7");
  EXPECT_EQ(PortDevice(folder.Path(), 97), folder.Path() + "COM97");
  EXPECT_EQ(PortDevice(folder.Path(), 8), "/dev/ttyS7");
}

}  // namespace
}  // namespace quillon
