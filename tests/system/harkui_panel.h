// A panel that is a program of its own: a panel client of the product on a real connection to a station, with
// lamps, displays and faders that a test can ask. It stands beside the panels of panel_fixture.h, which know
// nothing but lines.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "panel/HarkUI.h"
#include "system/panel_fixture.h"

namespace hark::test {

class HarkUIPanel : public Pumped {
 public:
  explicit HarkUIPanel(const std::string& id, int first = 1, int nkeys = 20, int aans = 0);

  // Connects and attaches; all that the station has to show is there when this returns. Again after leave(),
  // or after the station has gone.
  [[nodiscard]] testing::AssertionResult attach(int port, const std::string& source = "127.0.0.3");
  // Leaves when the station has nothing more to say.
  void leave();
  [[nodiscard]] bool wait_closed() { return client_.wait_closed(); }
  void close() { client_.close(); }

  // Keys by the panel's own clock: a tap is one on a loaded machine too.
  void press(const char* key, std::uint32_t ms) { ui_->IntercomKeyEvent(read_sig(key), true, ms, nullptr); }
  void release(const char* key, std::uint32_t ms) {
    ui_->IntercomKeyEvent(read_sig(key), false, ms, nullptr);
  }
  void tap(const char* key);
  void hold(const char* key);
  // Waits until the station has done all that came before, and its panels know of it.
  void settle();

  // What the callbacks last told: a lamp's state, "Ann/Anna B." on a display, a level; -1, "-" and none for
  // what they never told. The display of the auto-answer channel is kAutoAnswer.
  static constexpr int kAutoAnswer = -1;
  [[nodiscard]] int lamp(Signature kind, int index = 0) const;
  [[nodiscard]] std::string display(int index) const;
  [[nodiscard]] std::optional<int> fader(const char* key) const;
  // Each waits until it shows that, and until whatever else was told in the same turn has come as well.
  [[nodiscard]] testing::AssertionResult wait_lamp(Signature kind, int index, int state);
  [[nodiscard]] testing::AssertionResult wait_display(int index, const std::string& text);
  [[nodiscard]] testing::AssertionResult wait_fader(const char* key, int level);
  // The lamp goes on and off as the panel steps; and does so once whatever comes has come.
  [[nodiscard]] bool flashes(Signature kind, int index = 0);
  [[nodiscard]] testing::AssertionResult wait_flashing(Signature kind, int index = 0);

  // The label that somebody has chosen here for the auto-answer channel; none: the one that the station
  // shows.
  std::optional<std::string> chosen;

  [[nodiscard]] HarkUI& ui() { return *ui_; }
  // What the station has complained of.
  [[nodiscard]] const Lines& errors() const { return errors_; }

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  void take_lines();
  [[nodiscard]] int place(int index) const { return index == kAutoAnswer ? ui_->nkeys() : index; }
  [[nodiscard]] testing::AssertionResult waited(bool in_time, const std::string& what);

  Client client_;
  std::unique_ptr<HarkUI> ui_;
  std::map<std::pair<Signature, int>, int> lamps_;
  std::map<int, std::string> displays_;
  std::map<Signature, int> faders_;
  Lines errors_;
  int answers_ = 0;
};

// A station with the sources and keys of PanelTest and two panels: `panel`, which knows lines, and `mine`.
class HarkUIPanelTest : public PanelTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  HarkUIPanel mine{"mine"};
};

}  // namespace hark::test
