// Tests of the lines in which the print system's programs list devices.
#include "delivery/backend/device_line.h"

#include <gtest/gtest.h>

#include <string>

namespace kestra::delivery {
namespace {

constexpr const char* kLabelPrinter =
    "direct usb://Kestra/K4?serial=1 \"Kestra K4\" \"Kestra K4 USB\" \"MFG:Kestra;MDL:K4;\" "
    "\"shelf\"";

TEST(ReadDeviceLine, KnowsEachWordByItsPlace) {
  const auto device = readDeviceLine(kLabelPrinter);
  ASSERT_TRUE(device.has_value());
  EXPECT_EQ(device->kind, "direct");
  EXPECT_EQ(device->uri, "usb://Kestra/K4?serial=1");
  EXPECT_EQ(device->makeAndModel, "Kestra K4");
  EXPECT_EQ(device->info, "Kestra K4 USB");
  EXPECT_EQ(device->id, "MFG:Kestra;MDL:K4;");
  EXPECT_EQ(device->location, "shelf");
}

TEST(ReadDeviceLine, DoesWithoutIdAndLocation) {
  const auto device =
      readDeviceLine("serial serial:/dev/ttyS0?baud=115200 \"Unknown\" \"Port #1\"");
  ASSERT_TRUE(device.has_value());
  EXPECT_EQ(device->info, "Port #1");
  EXPECT_EQ(device->id, "");
  EXPECT_EQ(device->location, "");
}

TEST(ReadDeviceLine, TakesTheCharacterBehindABackslashAsItIs) {
  const auto device = readDeviceLine(R"(direct "usb://a b" "4\" head" "C:\\x" "\n\"" "")");
  ASSERT_TRUE(device.has_value());
  EXPECT_EQ(device->uri, "usb://a b");
  EXPECT_EQ(device->makeAndModel, "4\" head");
  EXPECT_EQ(device->info, "C:\\x");
  EXPECT_EQ(device->id, "n\"");
}

TEST(ReadDeviceLine, RefusesWhatIsNoWholeLine) {
  for (const char* line : {"", "   ", "direct", "direct usb://a", "direct usb://a \"m\"",
                           "direct usb://a \"m\" \"i", "direct usb://a \"m\" \"i\\"}) {
    EXPECT_FALSE(readDeviceLine(line).has_value()) << line;
  }
}

TEST(DeviceThroughUs, HasOurAddressAndSaysWhatIsDifferent) {
  const auto device = readDeviceLine(kLabelPrinter);
  ASSERT_TRUE(device.has_value());
  const auto ours = deviceThroughUs(*device);
  ASSERT_TRUE(ours.has_value());
  EXPECT_EQ(ours->kind, "direct");
  EXPECT_EQ(ours->uri, "kestra:usb://Kestra/K4?serial=1");
  EXPECT_EQ(ours->makeAndModel, "Kestra K4");
  EXPECT_EQ(ours->info, "Kestra K4 USB (each label exactly once)");
  EXPECT_EQ(ours->id, "MFG:Kestra;MDL:K4;");
  EXPECT_EQ(ours->location, "shelf");
}

TEST(DeviceThroughUs, LeavesOutWhatIsNoDeviceOfThisMachine) {
  for (const char* line : {
           "network socket://10.0.0.5 \"m\" \"i\"",      // the print system lists it itself
           "network kestra \"Unknown\" \"i\"",           // a way, not a device
           "direct usb \"Unknown\" \"USB\"",             // alike
           "file cups-brf:/ \"m\" \"i\"",                // no printer
           "direct \"kestra:usb://a\" \"m\" \"i\"",      // ours already
           "direct ../evil://x \"m\" \"i\"",             //
           "direct \"usb://a\nnetwork b\" \"m\" \"i\"",  //
       }) {
    const auto device = readDeviceLine(line);
    ASSERT_TRUE(device.has_value()) << line;
    EXPECT_FALSE(deviceThroughUs(*device).has_value()) << line;
  }
}

TEST(DeviceThroughUs, StaysOneLineOfALengthThatIsRead) {
  DeviceLine device;
  device.kind = "direct";
  device.uri = "usb://Kestra/K4";
  device.makeAndModel = "a\nnetwork socket://evil \"m\" \"i\"\n";
  device.info = std::string(5000, 'i');
  device.id = std::string(5000, 'd');
  device.location = std::string(5000, 'l');
  const auto ours = deviceThroughUs(device);
  ASSERT_TRUE(ours.has_value());
  EXPECT_EQ(ours->makeAndModel, "a network socket://evil \"m\" \"i\" ");
  // 127 bytes, the last 26 of them " (each label exactly once)".
  EXPECT_EQ(ours->info, std::string(101, 'i') + " (each label exactly once)");
  EXPECT_EQ(ours->id, std::string(1023, 'd'));
  EXPECT_EQ(ours->location, std::string(127, 'l'));
}

}  // namespace
}  // namespace kestra::delivery
