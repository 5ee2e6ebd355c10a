#include "platform/serial_control.h"

#include <gmock/gmock.h>

#include "support/test_program.h"

namespace quillon::test {
namespace {

using testing::ElementsAre;

class SerialControlTest : public testing::Test {
 protected:
  FakeComputer computer;
  SerialControl line{computer};
};

TEST_F(SerialControlTest, OpensAPortFrom1To99OnceAndClosesItAsOftenAsAsked) {
  for (const int port : {-1, 0, 100}) EXPECT_EQ(FailureNumber([&] { line.SetCommPort(port); }), 8002) << port;
  line.SetPortOpen(false);
  for (const int port : {1, 99}) {
    line.SetCommPort(port);
    line.SetPortOpen(true);
    EXPECT_EQ(FailureNumber([&] { line.SetPortOpen(true); }), 8005);
    line.SetPortOpen(false);
    line.SetPortOpen(false);
    EXPECT_FALSE(computer.open);
  }
  EXPECT_THAT(computer.openedPorts, ElementsAre(1, 99));
}

TEST_F(SerialControlTest, StaysClosedWhenOpeningFails) {
  computer.beforeOperation = [] { throw RunError(RunError::kPermissionDenied, "as scripted"); };
  EXPECT_EQ(FailureNumber([&] { line.SetPortOpen(true); }), 70);
  EXPECT_EQ(FailureNumber([&] { line.Output(FromHex("40")); }), 8018);
  EXPECT_EQ(FailureNumber([&] { line.InBufferCount(); }), 8018);
  EXPECT_EQ(FailureNumber([&] { line.Input(); }), 8018);
}

TEST_F(SerialControlTest, ChangesTheSpeedOnTheOpenPortAtOnceAndKeepsItWhenAnotherIsRefused) {
  line.SetSettings("19200,N,8,2");
  line.SetPortOpen(true);
  line.SetSettings("4800,N,8,2");
  for (const char* text : {"", "9600", ",N,8,2", "9600,N,8,1", "fast,N,8,2", "0,N,8,2", "9600,N,8,2 "}) {
    EXPECT_EQ(FailureNumber([&] { line.SetSettings(text); }), 380) << text;
  }
  computer.beforeOperation = [] { throw RunError(RunError::kInvalidPropertyValue, "as scripted"); };
  EXPECT_EQ(FailureNumber([&] { line.SetSettings("38400,N,8,2"); }), 380);
  EXPECT_EQ(line.Settings(), "4800,N,8,2");
  EXPECT_THAT(computer.speeds, ElementsAre(19200, 4800));
}

TEST_F(SerialControlTest, OpensAgainAfterAnOpeningThatWasRefusedForASpeedSetWhileClosed) {
  line.SetSettings("115200,N,8,2");
  computer.beforeOperation = [] { throw RunError(RunError::kInvalidPropertyValue, "as scripted"); };
  EXPECT_EQ(FailureNumber([&] { line.SetPortOpen(true); }), 380);
  line.SetSettings("115200,N,8,2");  // by the steps of a run that goes on
  computer.beforeOperation = nullptr;
  line.SetPortOpen(true);
  EXPECT_THAT(computer.speeds, ElementsAre(9600));
  EXPECT_EQ(line.Settings(), "9600,N,8,2");
}

}  // namespace
}  // namespace quillon::test
