#include "panel/harkui_fixture.h"

#include <cstdio>
#include <stdexcept>

namespace hark::test {
namespace {

std::string name(Signature signature) { return sig_text(signature).data(); }

// A text that a callback was given; a null pointer shows as such.
std::string shown(const char* text) { return text == nullptr ? "(null)" : text; }

}  // namespace

HarkUITest::HarkUITest() : table_size_before_(harkchTable_size) {
  callbacks.display = [](void* ctx, int index, const char* text, const char* alt) {
    auto& test = *static_cast<HarkUITest*>(ctx);
    test.displays.push_back(std::to_string(index) + " " + shown(text) + "/" + shown(alt));
    if (test.on_display) test.on_display();
  };
  callbacks.auto_answer_label = [](void* ctx, char* buffer, int size) {
    auto& test = *static_cast<HarkUITest*>(ctx);
    test.buffer_sizes.push_back(size);
    (void)std::snprintf(buffer, static_cast<std::size_t>(size), "%s", test.chosen.c_str());
  };
  callbacks.lamp = [](void* ctx, Signature kind, int index, int state) {
    auto& test = *static_cast<HarkUITest*>(ctx);
    test.lamps_[{kind, index}] = state;
    ++test.lamp_calls;
    if (test.on_lamp) test.on_lamp();
  };
  callbacks.fader = [](void* ctx, Signature fader, int level) {
    static_cast<HarkUITest*>(ctx)->faders.push_back(name(fader) + " " + std::to_string(level));
  };
  callbacks.clear_list = [](void* ctx, Signature list) {
    static_cast<HarkUITest*>(ctx)->lists.push_back(name(list) + " cleared");
  };
  callbacks.add_to_list = [](void* ctx, Signature list, const char* text, const char* alt, char letter) {
    static_cast<HarkUITest*>(ctx)->lists.push_back(name(list) + " + " + shown(text) + "/" + shown(alt) + " " +
                                                   (letter == '\0' ? '-' : letter));
  };
  callbacks.send = [](void* ctx, const char* text) { static_cast<HarkUITest*>(ctx)->sent += text; };
}

HarkUITest::~HarkUITest() { harkchTable_size = table_size_before_; }

HarkUI& HarkUITest::Make(int first, int nkeys, int aans, std::string_view id) {
  ui = HarkUI_Create(first, nkeys, aans, id, &callbacks, this);
  if (!ui) throw std::runtime_error("no client");
  return *ui;
}

HarkUI& HarkUITest::Attached(int first, int nkeys) {
  Make(first, nkeys).HarkUI_Initialize();
  Forget();
  return *ui;
}

void HarkUITest::Steps(int count) {
  for (int i = 0; i < count; ++i)
    ui->TimerAction();
}

void HarkUITest::Forget() {
  displays.clear();
  faders.clear();
  lists.clear();
  sent.clear();
  lamps_.clear();
  lamp_calls = 0;
}

::testing::AssertionResult HarkUITest::Silent() const {
  if (displays.empty() && faders.empty() && lists.empty() && sent.empty()) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure()
         << "displays " << ::testing::PrintToString(displays) << " faders "
         << ::testing::PrintToString(faders) << " lists " << ::testing::PrintToString(lists) << " sent "
         << ::testing::PrintToString(sent);
}

int HarkUITest::Lamp(Signature kind, int index) const {
  const auto found = lamps_.find({kind, index});
  return found == lamps_.end() ? -1 : found->second;
}

std::string HarkUITest::Record(int index) const {
  const HarkUI::Record& record = ui->record(index);
  return std::string(record.text.data()) + "/" + record.alt.data() + " " + std::to_string(record.dfl);
}

}  // namespace hark::test
