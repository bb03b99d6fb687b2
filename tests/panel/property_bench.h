// A station in one process, and beside it the model of one: two network panels and a console over the real
// panel logic, the real CALL command and the real line tables. Every action is done to both; after each, the
// commands that went out are compared, and after each pass of the loop everything else.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/scratch_folder.h"
#include "panel/HarkUIProxy.h"
#include "panel/HarkUIProxyShared.h"
#include "panel/reference_station.h"
#include "support/line_socket.h"
#include "support/test_clock.h"

namespace hark {

inline constexpr int kBenchKeys = 24;
inline constexpr std::size_t kConsole = 2;  // panels 0 and 1 are network panels; 0 shows all keys
inline constexpr std::size_t kPanels = 3;

class Bench {
 public:
  // `console_type` 1 to 3; `skew_ms` by which the clock of panel 1 is off.
  Bench(reference::Sources sources, const reference::ChannelFile& channels, int console_type,
        std::uint32_t skew_ms);
  ~Bench();
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  // A key of a network panel; without `stamped` the event bears no time.
  void NetworkKey(std::size_t panel, const std::string& key, bool down, bool stamped = true);
  void ConsoleKey(int number, bool down);
  void ConsoleRotary(int number, int clicks);
  void FaderOff(bool down);
  void Fader(std::size_t panel, const std::string& key, bool absolute, int value);
  void Display(std::size_t panel, const std::string& key, const std::string& label);
  void SelectShift(std::size_t panel, const std::string& label);
  // Panel 1 comes back with no memory of what it has shown.
  void Reattach(bool aans);
  void Contact(int kind, const std::string& url, char wish);
  void Confirm(int port, bool active);
  void VolumeReport(int line, int volume);
  void WriteSources(const std::vector<reference::Source>& sources);
  void WriteChannels(const std::vector<reference::Section>& sections);
  void RemoveChannels();
  void AdvanceMs(long ms);
  // One pass of the loop, and all comparisons; `network_changed` runs the slow section at once.
  void Pass(bool network_changed = false);

  // Lets go of every key, ends every latch and every far request, and waits for the drops.
  void Settle(const std::vector<reference::Source>& sources, const reference::Section& clean);
  void CheckAllSilent();

  // Line tables, party list and what calls have become agree among themselves, whatever the model says. Holds
  // while the station of a call keeps its place in the file of sources.
  void CheckAgreement();

  [[nodiscard]] const reference::Station& Reference() const { return *reference_; }
  // What was done, newest last.
  [[nodiscard]] std::string History() const;

 private:
  static Bench* current_;
  static int TakeCommand(const char* text, int context);
  static int TakePanelText(const char* text, int context);
  static void TakeReport(const char* url, char listen, char talk);
  static void TakeVolume(const char* url, long volume);
  static int AnyAutoAnswer();

  void Note(const std::string& what);
  void AttachAll(int console_type);
  void AttachPanel(std::size_t i, const std::string& id, int type, int first, int last, bool aans);
  void CompareCommands();
  void CompareLines();
  void CompareParties();
  void CompareModel();
  void ComparePanels();
  void CompareMixer();
  void CheckStack();
  void CheckSavedFile();
  void CheckSavedShift(const std::string& shift, const reference::Table& expected);
  void TakeLamps(std::size_t panel);
  void OweByCommand(const std::string& command);
  void Fail(const std::string& what, const std::string& process, const std::string& model);
  [[nodiscard]] std::uint32_t NowMs() const;
  void HoldForSettling(std::size_t panel, const std::string& key);
  void SettleOnce();

  TestClock clock_;
  ScratchFolder folder_;
  RecordingMixer mixer_;
  std::unique_ptr<HarkUIProxyShared> model_;
  std::array<std::unique_ptr<HarkUIProxy>, kPanels> panels_;
  std::unique_ptr<reference::Station> reference_;
  std::uint32_t skew_ms_;
  TimeUs slow_time_ = 0;
  int saves_seen_ = 0;
  long save_time_ = 1'500'000'000;  // before that of any file that the test writes

  std::vector<std::string> sent_;
  std::array<std::string, kPanels> panel_text_;
  std::array<std::map<std::string, std::string>, kPanels> lamps_;
  std::array<std::string, 8> inputs_;                   // source by mixer input
  std::set<std::pair<std::string, char>> owed_;         // address and direction that a `1` was sent for
  std::set<std::pair<std::size_t, std::string>> down_;  // keys of network panels that are down
  std::set<int> console_down_;
  bool fader_down_ = false;
  std::vector<std::string> history_;

  std::string sources_before_;
  std::string table_before_;
};

}  // namespace hark
