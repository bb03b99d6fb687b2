// A console under a test: its lines, its menu knob, and the marks of its display.
#pragma once

#include <string>
#include <vector>

#include "panel/proxy_fixture.h"

namespace hark {

// Marks of the console's character set.
inline constexpr char kLink[] = "\x81";
inline constexpr char kSteady[] = "\x82";
inline constexpr char kFlash0[] = "\x83";
inline constexpr char kFlash1[] = "\x84";
inline constexpr char kFlash2[] = "\x85";

inline std::string quoted(const std::string& text) { return "\"" + text + "\""; }
inline std::string menu_line(const std::string& list, int selected) {
  return "SET Intercom.menu list=[" + list + "],selected=" + std::to_string(selected) + "\n";
}
inline std::string button_line(int button, const std::string& indicator) {
  return "SET Intercom.btn#" + std::to_string(button) + " IND=" + indicator + "\n";
}
// An event of the panel "p0".
inline std::string event(const std::string& key, const std::string& state) {
  return "event HARKUI#p0.BUT#" + key + " KEY=" + state + "\r\n";
}

// The tests' console is the first panel.
class ConsoleTest : public ProxyTest {
 protected:
  // A console for `keys` keys, brought up to date.
  HarkUIProxy& Console(int type = HarkUIProxy::kModule20, int keys = 20) {
    return AttachUpToDate(type, 1, keys);
  }
  [[nodiscard]] const HarkUI_CallstackMenu& Menu() const { return panels[0]->menu(); }
  // The commands and events that a line of the console gives.
  std::vector<std::string> After(const std::string& line) {
    panels[0]->harkui_receive_surface(line.c_str());
    return Commands();
  }
  // Turns the menu knob, and lets the panels show it.
  void Turn(int clicks) {
    After(".btn#130 rot=" + std::to_string(clicks));
    Refresh();
  }
  // Presses the key that chooses the item under the cursor.
  void Choose() {
    After(".btn#52 KEY=D");
    Refresh();
  }
  // The cursor on the item `text` of the page; what is sent meanwhile is forgotten.
  void PutCursorOn(const std::string& text) {
    Turn(-99);
    for (int i = 0; i < 20 && Menu().selected_item()->text != text; ++i)
      Turn(1);
    ASSERT_EQ(Menu().selected_item()->text, text);
    Forget();
  }
  // The page behind the link `text`; its line is what was sent last.
  void OpenPage(const std::string& text) {
    PutCursorOn(text);
    Choose();
  }
  // A party comes onto the stack; what the console is sent.
  std::string Call(const std::string& label, std::uint32_t status) {
    Model().callstack_add(label, status);
    Refresh();
    return Sent();
  }
};

}  // namespace hark
