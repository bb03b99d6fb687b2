// Several talks at once: lines that share one device's connection, and as many as a station has.
#include <algorithm>
#include <memory>
#include <vector>

#include "system/links_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

constexpr int kDevices = 8;
constexpr int kAll = 128;  // talk lines
constexpr int kPerDevice = quillsim::kFarDestinations;

class IfbLinks : public Links {
 protected:
  static std::string Before(int dst) { return "239.192.9." + std::to_string(dst); }
};

TEST_F(IfbLinks, OfOneDeviceShareItsConnection) {
  FarDeviceSim device({.addresses = {{1, Before(1)}, {2, Before(2)}}});
  const std::string first = ifb_url(device, 1);
  const std::string second = ifb_url(device, 2);
  const int descriptors = settled_descriptors(station, client);
  TalkTo(first);
  TalkToAmongOthers(second);
  EXPECT_EQ(device->connections(), 1);
  EXPECT_TRUE(HasDescriptors(descriptors + 1));
  EXPECT_THAT(device->received(), ElementsAre("DST", "LOGIN", set_line(1, kOwnAddress), "DST", "LOGIN",
                                              set_line(2, kOwnAddress)));
  Drop(first);
  EXPECT_TRUE(device.wait_address(1, Before(1)));
  EXPECT_TRUE(StaysIn(second, '1'));
  EXPECT_EQ(device->address(2), kOwnAddress);
  EXPECT_TRUE(station.ends_clean());
  EXPECT_TRUE(device.wait_address(2, Before(2)));
}

TEST_F(IfbLinks, OfOneDestinationComeOneBehindTheOther) {
  ExpectLog("qnrifb active other PTT ");
  FarDeviceSim device({.addresses = {{1, Before(1)}}});
  const std::string first = ifb_url(device, 1);
  const std::string second = "quillnet:239.192.0.11;ifb=" + device.url(1);
  TalkTo(first);
  Call(second, "TALK:1");
  ASSERT_TRUE(Reported(second, "TALK:r"));
  EXPECT_TRUE(Reported(first, "TALK:1")) << "the device was asked again";
  EXPECT_TRUE(StaysIn(second, 'r')) << "taken, be it by ourselves";
  Drop(first);
  EXPECT_TRUE(Reported(second, "TALK:1")) << "as soon as the first has given it back";
  Drop(second);
  EXPECT_TRUE(device.wait_address(1, Before(1)));
  EXPECT_TRUE(device.refused_nothing());
  EXPECT_TRUE(station.ends_clean());
}

TEST_F(IfbLinks, AllTalkLinesOnEightDevicesAtOnce) {
  // Answers to the next line's question, asked before the first line's set arrived, show the old state.
  ExpectLog("qnrifb conflict ");
  std::vector<std::unique_ptr<FarDeviceSim>> devices;
  std::vector<std::string> urls;
  for (int i = 0; i < kDevices; ++i) {
    devices.push_back(std::make_unique<FarDeviceSim>());
    for (int dst = 1; dst <= kPerDevice; ++dst) {
      ASSERT_TRUE((*devices.back())->set_address(dst, Before(dst)));
      urls.push_back(ifb_url(*devices.back(), dst));
    }
  }
  ASSERT_EQ(urls.size(), std::size_t{kAll});
  const auto all_carry = [&](int from, const std::function<std::string(int)>& address) {
    for (const auto& device : devices) {
      for (int dst = from; dst <= kPerDevice; ++dst) {
        if (testing::AssertionResult carries = device->wait_address(dst, address(dst)); !carries)
          return carries;
      }
    }
    return testing::AssertionSuccess();
  };

  const int descriptors = settled_descriptors(station, client);
  for (const std::string& url : urls) {
    Call(url, "TALK:1");
    while (listener.has_line())
      (void)listener.read_line();
  }
  ASSERT_TRUE(all_carry(1, [](int) { return kOwnAddress; }));
  EXPECT_TRUE(HasDescriptors(descriptors + kDevices));
  const auto confirmed = [this] {
    const Lines list = Listed();
    return std::count_if(list.begin(), list.end(),
                         [](const std::string& line) { return line.ends_with("TALK:1"); });
  };
  EXPECT_TRUE(wait_until([&] { return confirmed() == kAll; })) << confirmed();

  // One half is given back by its drop, the other by the end of the station.
  for (int i = 0; i < kDevices; ++i) {
    for (int dst = 1; dst <= kPerDevice / 2; ++dst)
      Call(ifb_url(*devices[static_cast<std::size_t>(i)], dst), "TALK:0");
  }
  ASSERT_TRUE(wait_until([&] { return Listed().size() == kAll / 2; }));
  for (const auto& device : devices) {
    EXPECT_TRUE(device->wait_address(kPerDevice / 2, Before(kPerDevice / 2)));
    EXPECT_EQ((*device)->address(kPerDevice), kOwnAddress);
    EXPECT_EQ((*device)->connections(), 1);
  }
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_TRUE(all_carry(1, Before));
  for (const auto& device : devices)
    EXPECT_TRUE(device->refused_nothing());
  EXPECT_TRUE(station.ends_clean());
}

}  // namespace
}  // namespace hark::test
