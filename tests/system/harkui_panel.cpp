#include "system/harkui_panel.h"

#include <cstdio>

namespace hark::test {
namespace {

constexpr std::uint32_t kPressedAt = 100'000;
constexpr std::uint32_t kTapMs = 50;
constexpr std::uint32_t kHoldMs = 500;
constexpr int kFlashPeriod = 16;

HarkUIPanel& panel_of(void* ctx) { return *static_cast<HarkUIPanel*>(ctx); }

}  // namespace

HarkUIPanel::HarkUIPanel(const std::string& id, int first, int nkeys, int aans) {
  static const HarkUI_Callbacks kCallbacks = {
      .display = [](void* ctx, int index, const char* text,
                    const char* alt) { panel_of(ctx).displays_[index] = std::string(text) + "/" + alt; },
      .auto_answer_label =
          [](void* ctx, char* buffer, int size) {
            const HarkUIPanel& panel = panel_of(ctx);
            const std::string shown = panel.ui_->record(panel.ui_->nkeys()).text.data();
            (void)std::snprintf(buffer, static_cast<std::size_t>(size), "%s",
                                panel.chosen.value_or(shown).c_str());
          },
      .lamp =
          [](void* ctx, Signature kind, int index, int state) {
            panel_of(ctx).lamps_[{kind, index}] = state;
          },
      .fader = [](void* ctx, Signature fader, int level) { panel_of(ctx).faders_[fader] = level; },
      .send =
          [](void* ctx, const char* text) {
            EXPECT_TRUE(panel_of(ctx).client_.send_raw(text)) << "could not be sent: " << text;
          },
  };
  ui_ = HarkUI_Create(first, nkeys, aans, id, &kCallbacks, this);
}

testing::AssertionResult HarkUIPanel::attach(int port, const std::string& source) {
  if (!client_.connect(port, source)) return testing::AssertionFailure() << "no connection from " << source;
  ui_->HarkUI_Initialize();
  faders_.clear();
  settle();
  if (!fader("SPKV")) return testing::AssertionFailure() << "not attached: " << ui_->GetUIID();
  return testing::AssertionSuccess();
}

void HarkUIPanel::leave() {
  settle();
  client_.close();
}

void HarkUIPanel::tap(const char* key) {
  press(key, kPressedAt);
  release(key, kPressedAt + kTapMs);
}

void HarkUIPanel::hold(const char* key) {
  press(key, kPressedAt);
  release(key, kPressedAt + kHoldMs);
}

void HarkUIPanel::settle() {
  for (int turn = 0; turn < 3; ++turn) {
    const int want = answers_ + 1;
    EXPECT_TRUE(client_.send_line("VER"));
    EXPECT_TRUE(wait_until([&] { return answers_ >= want; })) << ui_->GetUIID() << " is not answered";
  }
}

int HarkUIPanel::lamp(Signature kind, int index) const {
  const auto found = lamps_.find({kind, index});
  return found == lamps_.end() ? -1 : found->second;
}

std::string HarkUIPanel::display(int index) const {
  const auto found = displays_.find(place(index));
  return found == displays_.end() ? "-" : found->second;
}

std::optional<int> HarkUIPanel::fader(const char* key) const {
  const auto found = faders_.find(read_sig(key));
  return found == faders_.end() ? std::nullopt : std::optional(found->second);
}

testing::AssertionResult HarkUIPanel::wait_lamp(Signature kind, int index, int state) {
  const bool in_time = wait_until([&] { return lamp(kind, index) == state; });
  return waited(in_time, std::string("lamp ") + sig_text(kind).data() + " " + std::to_string(index) + " is " +
                             std::to_string(lamp(kind, index)));
}

testing::AssertionResult HarkUIPanel::wait_display(int index, const std::string& text) {
  const bool in_time = wait_until([&] { return display(index) == text; });
  return waited(in_time, "display " + std::to_string(index) + " is " + display(index));
}

testing::AssertionResult HarkUIPanel::wait_fader(const char* key, int level) {
  const bool in_time = wait_until([&] { return fader(key) == level; });
  return waited(in_time, std::string("fader ") + key + " is " + testing::PrintToString(fader(key)));
}

bool HarkUIPanel::flashes(Signature kind, int index) {
  int on = 0;
  for (int step = 0; step < kFlashPeriod; ++step) {
    ui_->TimerAction();
    if (lamp(kind, index) == kLampOn) ++on;
  }
  return on == kFlashPeriod / 2;
}

testing::AssertionResult HarkUIPanel::wait_flashing(Signature kind, int index) {
  const bool in_time = wait_until([&] { return flashes(kind, index); });
  return waited(in_time, std::string("lamp ") + sig_text(kind).data() + " " + std::to_string(index) +
                             " does not flash");
}

testing::AssertionResult HarkUIPanel::waited(bool in_time, const std::string& what) {
  if (!in_time) return testing::AssertionFailure() << ui_->GetUIID() << ": " << what;
  settle();
  return testing::AssertionSuccess();
}

void HarkUIPanel::fill(fd_set& read, fd_set&, int& highest) const {
  if (client_.connected()) (void)fdset_add(client_.fd(), read, highest);
}

void HarkUIPanel::serve(const fd_set& read, const fd_set&) {
  if (client_.connected() && fdset_has(client_.fd(), read)) take_lines();
}

void HarkUIPanel::take_lines() {
  while (client_.has_line()) {
    const std::string line = client_.read_line().value_or("");
    if (line == kVersion) {
      ++answers_;
      continue;
    }
    if (line.starts_with("ERROR")) errors_.push_back(line);
    ui_->harkd_receive(line.c_str());
  }
}

void HarkUIPanelTest::SetUp() {
  StartWithPanel();
  ASSERT_TRUE(mine.attach(station.ctrl_port()));
}

void HarkUIPanelTest::TearDown() {
  EXPECT_THAT(mine.errors(), testing::IsEmpty());
  PanelTest::TearDown();
}

}  // namespace hark::test
