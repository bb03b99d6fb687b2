// What the tests of the panel client share: a client whose callbacks write down what they were told, and the
// lines that it sends. A test that has to take a callback away does so before it makes the client.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "panel/HarkUI.h"
#include "panel/HarkUI_CallstackMenu.h"

namespace hark::test {

class HarkUITest : public ::testing::Test {
 protected:
  HarkUITest();
  ~HarkUITest() override;

  // A client named "desk" for these keys; nothing has been said yet.
  HarkUI& Make(int first, int nkeys, int aans = 0, std::string_view id = "desk");
  // The same, which has attached, with what that told forgotten.
  HarkUI& Attached(int first = 1, int nkeys = 4);

  // A line from the station, as it stands or behind "set HARKUI#desk.".
  void Line(const std::string& line) { ui->harkd_receive(line.c_str()); }
  void Set(const std::string& object) { Line("set HARKUI#desk." + object); }
  void Steps(int count);

  // What the callbacks were told since the last Forget(): "1 Bob/Robert" for a display, "KL01 -60" for a
  // fader, "CALL cleared" and "CALL + Bob/Robert F" for a list (NUL as letter: "-").
  std::vector<std::string> displays;
  std::vector<std::string> faders;
  std::vector<std::string> lists;
  std::string sent;
  int lamp_calls = 0;
  void Forget();
  // Nothing but lamps was told, and nothing was sent.
  [[nodiscard]] ::testing::AssertionResult Silent() const;

  // The state of a lamp as last told since the last Forget(); -1 when it was not told.
  [[nodiscard]] int Lamp(Signature kind, int index = 0) const;
  // The text of a record as "Bob/Robert 2", the last its flags.
  [[nodiscard]] std::string Record(int index) const;

  // What the panel has chosen for the auto-answer channel: what callback 2 answers, and the sizes that it
  // got.
  std::string chosen;
  std::vector<int> buffer_sizes;
  // Called from within a callback, after the note was made.
  std::function<void()> on_lamp;
  std::function<void()> on_display;

  HarkUI_Callbacks callbacks;
  std::unique_ptr<HarkUI> ui;

 private:
  std::map<std::pair<Signature, int>, int> lamps_;
  int table_size_before_;
};

}  // namespace hark::test
