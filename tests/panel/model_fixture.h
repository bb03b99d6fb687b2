// What the tests of the shared panel model share: a model over a channel file and a source file of the test's
// own, one panel to press keys on, a clock that stands, and every command of the model as text. All that the
// process keeps besides is put back when the test ends.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "addressing/HarkResolv.h"
#include "base/scratch_folder.h"
#include "daemon/station/listenvol.h"
#include "daemon/station/station.h"
#include "panel/HarkUIProxy.h"
#include "panel/HarkUIProxyShared.h"
#include "support/test_clock.h"

namespace hark {

// Stations of the source file, as they are called. The first three are on keys 1 to 3 in the shift "Day".
inline constexpr const char kBob[] = "Bob <hark:10.0.0.1>";
inline constexpr const char kAnn[] = "Ann <hark:10.0.0.2>";
inline constexpr const char kCat[] = "Cat <hark:10.0.0.3>";
inline constexpr const char kYan[] = "Yan <hark:10.0.0.25>";
inline constexpr const char kZed[] = "Zed <hark:10.0.0.26>";
// Their bare addresses, which are reported without teaching the resolver anything.
inline constexpr const char kBobAddress[] = "hark:10.0.0.1";
inline constexpr const char kAnnAddress[] = "hark:10.0.0.2";
inline constexpr const char kCatAddress[] = "hark:10.0.0.3";
inline constexpr const char kYanAddress[] = "hark:10.0.0.25";
inline constexpr const char kZedAddress[] = "hark:10.0.0.26";

inline constexpr const char kUnmute[] = "IO MICV:0\n";

// The command that asks for `fields` of the call to `url`, such as "TALK:1".
[[nodiscard]] std::string Call(const std::string& url, const std::string& fields);

class ModelTest : public ::testing::Test {
 protected:
  ModelTest();
  ~ModelTest() override;

  void Channels(const std::string& text) { folder.Write("harkch.conf", text); }
  void Sources(const std::string& text) { folder.Write("hark_sources", text); }
  // A new model over the files as they are, and a panel that shows the labels of all its keys.
  void Start(int nkeys = 90);
  // The same with key 1 as `entry` (what stands behind the key's number) and `source` as the only station.
  void StartWithKey(const std::string& entry, const std::string& source);
  // The panel is one for the keys `first` to `last`.
  void ShowKeys(int first, int last);
  // The panel shows what has changed; nothing is dirty then.
  void ShowChanges();

  void KeyDown(const std::string& key);
  void KeyUp(const std::string& key);
  // Pressed and released after `ms`.
  void Hold(const std::string& key, long ms);
  void Tap(const std::string& key) { Hold(key, 100); }
  void AdvanceMs(long ms);
  void Fader(const std::string& fader, int value) {
    model->IntercomFaderSetValue(read_sig(fader.c_str()), value);
  }

  // A report of the daemon: Indicate("CALL URL:\"hark:10.0.0.1\" TALK:R").
  void Indicate(const std::string& line) { model->harkd_receive((line + "\r\n").c_str()); }
  void Report(const std::string& url, const std::string& fields) {
    Indicate("CALL URL:\"" + url + "\" " + fields);
  }

  // Commands since the last question.
  std::vector<std::string> Sent() { return std::exchange(sent, {}); }
  // What has become dirty since the last question.
  std::uint32_t Dirty() { return std::exchange(model->dirty, 0U); }
  // The call stack as "label status", newest first.
  [[nodiscard]] std::vector<std::string> Stack() const;
  // The keys that have a label, as "number label".
  [[nodiscard]] std::vector<std::string> Labels() const;
  [[nodiscard]] std::vector<std::string> Group() const;
  [[nodiscard]] std::string AALabel() const { return model->aa_label.data(); }
  [[nodiscard]] std::string ChannelFile() const { return folder.Read("harkch.conf"); }

  TestClock clock;
  ScratchFolder folder;
  std::unique_ptr<HarkUIProxyShared> model;
  std::unique_ptr<HarkUIProxy> panel;
  std::uint32_t ms = 1'000'000;                   // the time that key events bear
  std::vector<std::string> sent;                  // commands of the model
  int send_result = 1;                            // what the model is answered
  std::function<void(const std::string&)> heard;  // called with each command before it is answered

 private:
  static int TakeCommand(const char* text, int context);
  static int TakePanelText(const char* text, int context);

  static ModelTest* current_;
  std::string sources_file_before_;
  std::string table_file_before_;
  ResolvFunction dynamic_before_;
  int (*autoanswer_before_)();
};

}  // namespace hark
