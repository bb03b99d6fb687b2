// The combined keys of the coloured module: talk is red, listen green, both yellow; two colours that a key
// flashes between.
#include "panel/proxy_fixture.h"

namespace hark {
namespace {

class ProxyColour : public ProxyTest {
 protected:
  ProxyColour() { nkeys = 20; }
};

struct ColourRow {
  char listen;
  char talk;
  const char* plain;   // of a station that answers by itself
  const char* higher;  // of one with a higher level
};
// Off colour, on colour and indicator of a combined key.
constexpr ColourRow kColours[] = {
    {'0', '0', "OFF,OFF,OFF", "RED,OFF,WINK"},
    {'1', '0', "GREEN,GREEN,OFF", "GREEN,GREEN,OFF"},
    {'R', '0', "OFF,GREEN,FLASH", "RED,GREEN,WINK"},
    {'r', '0', "OFF,GREEN,FLASH", "RED,GREEN,WINK"},
    {'*', '0', "OFF,GREEN,FLASH", "RED,GREEN,WINK"},
    {'d', '0', "OFF,GREEN,FLASH_FAST", "OFF,GREEN,FLASH_FAST"},
    {'0', '1', "RED,RED,OFF", "RED,RED,OFF"},
    {'1', '1', "YELLOW,YELLOW,OFF", "YELLOW,YELLOW,OFF"},
    {'R', '1', "RED,YELLOW,FLASH", "RED,YELLOW,FLASH"},
    {'r', '1', "RED,YELLOW,FLASH", "RED,YELLOW,FLASH"},
    {'*', '1', "RED,YELLOW,FLASH", "RED,YELLOW,FLASH"},
    {'d', '1', "RED,YELLOW,FLASH", "RED,YELLOW,FLASH"},
    {'0', 'R', "OFF,RED,FLASH", "RED,RED,WINK"},
    {'1', 'R', "GREEN,YELLOW,FLASH", "GREEN,YELLOW,FLASH"},
    {'R', 'R', "OFF,YELLOW,FLASH", "RED,YELLOW,WINK"},
    {'d', 'R', "OFF,YELLOW,FLASH", "RED,YELLOW,WINK"},
    {'0', 'r', "OFF,RED,FLASH", "RED,RED,WINK"},
    {'1', 'r', "GREEN,YELLOW,FLASH", "GREEN,YELLOW,FLASH"},
    {'0', '*', "OFF,RED,FLASH", "RED,RED,WINK"},
    {'1', '*', "GREEN,YELLOW,FLASH", "GREEN,YELLOW,FLASH"},
    {'0', 'd', "OFF,RED,FLASH", "RED,RED,WINK"},
    {'1', 'd', "GREEN,YELLOW,FLASH", "GREEN,YELLOW,FLASH"},
    {'R', 'd', "OFF,YELLOW,FLASH", "RED,YELLOW,WINK"},
    {'d', 'd', "OFF,YELLOW,FLASH", "RED,YELLOW,WINK"},
};

std::string colour_line(int key, const std::string& colours) {
  const std::size_t first = colours.find(',');
  const std::size_t second = colours.find(',', first + 1);
  return "SET Intercom.key#" + std::to_string(key) + " BACKCOLOROFF=" + colours.substr(0, first) +
         ",BACKCOLORON=" + colours.substr(first + 1, second - first - 1) +
         ",IND=" + colours.substr(second + 1) + "\n";
}

TEST_F(ProxyColour, CombinedKeyShowsBothHalvesByColour) {
  Labels({"Bob", "High"});
  for (const ColourRow& row : kColours) {
    SCOPED_TRACE(std::string("listen ") + row.listen + " talk " + row.talk);
    panels.clear();
    HarkUIProxy& panel = Attach(HarkUIProxy::kModuleColour, 1, 20);
    panel.UpdateChannelLabels();
    for (const int n : {1, 2, 10, 20}) {
      panel.UpdateKeyIndicator(mksig(kListen00, n), row.listen);
      panel.UpdateKeyIndicator(mksig(kTalk00, n), row.talk);
      EXPECT_EQ(Lines().back(), colour_line(n, n == 2 ? row.higher : row.plain));
    }
  }
}

TEST_F(ProxyColour, TalkOnWithListenRingingIsRedThatFlashesYellow) {
  Labels({"Bob"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModuleColour, 1, 1);
  panel.UpdateKeyIndicators(0, 16 | 2);
  EXPECT_EQ(Sent(), "SET Intercom.key#1 BACKCOLOROFF=RED,BACKCOLORON=YELLOW,IND=FLASH\n");
}

TEST_F(ProxyColour, TwoHalvesOfACombinedKeyThatChangeTogetherAreOneLine) {
  HarkUIProxy& panel = Attach(HarkUIProxy::kModuleColour, 1, 1);
  panel.UpdateKeyIndicators(0, 0);
  EXPECT_EQ(Sent(), "SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF\n");
  panel.UpdateKeyIndicators(0, 17);
  EXPECT_EQ(Sent(), "SET Intercom.key#1 BACKCOLOROFF=YELLOW,BACKCOLORON=YELLOW,IND=OFF\n");
  panel.UpdateKeyIndicators(0, 17);
  EXPECT_EQ(Sent(), "");
  panel.UpdateKeyIndicators(0, 1);
  EXPECT_EQ(Sent(), "SET Intercom.key#1 BACKCOLOROFF=GREEN,BACKCOLORON=GREEN,IND=OFF\n");
  panel.UpdateKeyIndicators(0, 8);
  EXPECT_EQ(Sent(), "SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=GREEN,IND=FLASH_FAST\n");
}

}  // namespace
}  // namespace hark
