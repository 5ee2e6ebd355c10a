#include <gtest/gtest.h>

#include "support/bench.h"

namespace quillon::test {
namespace {

TEST(FlashInfo, FillsTheRowOfEachTickedController) {
  bus::Bus bus;
  bus.Add({.number = 3});
  bus.Add({.number = 5, .baud = 19200});
  Bench bench;
  bench.world.bus = &bus;
  bench.Tick({3, 5});
  bench.tool.ComInfo.Press();
  EXPECT_EQ(bench.Row(3), "01/02/03 1E02");
  EXPECT_EQ(bench.Row(5), "01/02/03 1E02");
  EXPECT_EQ(bench.tool.Vitesse.Text(), "19200");
  EXPECT_FALSE(bench.world.open);
}

}  // namespace
}  // namespace quillon::test
