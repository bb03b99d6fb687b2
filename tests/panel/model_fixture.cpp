#include "panel/model_fixture.h"

#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"

namespace hark {

namespace {

constexpr int kContext = 4711;

int no_autoanswer() { return 0; }

}  // namespace

ModelTest* ModelTest::current_ = nullptr;

std::string Call(const std::string& url, const std::string& fields) {
  return "CALL URL:\"" + url + "\" " + fields + "\n";
}

ModelTest::ModelTest()
    : sources_file_before_(harksources_file),
      table_file_before_(table_file),
      dynamic_before_(HarkResolv_dynamic),
      autoanswer_before_(harkd_has_autoanswer_callback) {
  current_ = this;
  station_reset();
  listenvol_cleanup();
  harkd_dynamicsources.clear();
  harksources_file = folder.File("hark_sources");
  table_file = folder.File("stations");
  HarkResolv_dynamic = nullptr;
  harkd_has_autoanswer_callback = no_autoanswer;
  Channels(
      "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 3 LABL:\"Cat\"\n\n"
      "SHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Ann\"\nHARKCH 4 LABL:\"Zed\"\n\n");
  std::string stations;
  for (const char* line : {kBob, kAnn, kCat, kYan, kZed})
    stations += std::string(line) + "\n";
  Sources(stations);
  Start();
}

ModelTest::~ModelTest() {
  panel.reset();
  model.reset();
  harkd_has_autoanswer_callback = autoanswer_before_;
  HarkResolv_dynamic = dynamic_before_;
  table_file = table_file_before_;
  harksources_file = sources_file_before_;
  harkd_dynamicsources.clear();
  listenvol_cleanup();
  station_reset();
  current_ = nullptr;
}

void ModelTest::Start(int nkeys) {
  panel.reset();
  std::string path = folder.path();
  path.pop_back();
  model = HarkUIProxyShared::Create(nkeys, path, TakeCommand, kContext);
  ASSERT_NE(model, nullptr);
  ShowKeys(1, nkeys);
  sent.clear();
}

void ModelTest::ShowKeys(int first, int last) {
  panel = HarkUIProxy::Create("p", first, last, 0, model.get(), TakePanelText, kContext);
  ASSERT_NE(panel, nullptr);
  panel->Notify(kDirtyAll, 0);
  model->dirty = 0;
}

void ModelTest::StartWithKey(const std::string& entry, const std::string& source) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 " + entry + "\n\n");
  Sources(source + "\n");
  Start();
}

void ModelTest::ShowChanges() {
  panel->Notify(model->dirty, 0);
  model->dirty = 0;
}

void ModelTest::KeyDown(const std::string& key) {
  model->IntercomKeyPressed(read_sig(key.c_str()), true, ms, *panel);
}

void ModelTest::KeyUp(const std::string& key) {
  model->IntercomKeyPressed(read_sig(key.c_str()), false, ms, *panel);
}

void ModelTest::Hold(const std::string& key, long held_ms) {
  KeyDown(key);
  AdvanceMs(held_ms);
  KeyUp(key);
}

void ModelTest::AdvanceMs(long passed_ms) {
  clock.AdvanceMs(passed_ms);
  ms += static_cast<std::uint32_t>(passed_ms);
}

std::vector<std::string> ModelTest::Stack() const {
  std::vector<std::string> out;
  for (const CallstackEntry& entry : model->callstack.entries())
    out.push_back(std::string(entry.text()) + " " + std::to_string(entry.status));
  return out;
}

std::vector<std::string> ModelTest::Labels() const {
  std::vector<std::string> out;
  for (int i = 0; i < model->nkeys(); ++i) {
    if (const std::string label(model->table().label(i)); !label.empty())
      out.push_back(std::to_string(i + 1) + " " + label);
  }
  return out;
}

std::vector<std::string> ModelTest::Group() const {
  return {model->table().group.begin(), model->table().group.end()};
}

int ModelTest::TakeCommand(const char* text, int context) {
  EXPECT_EQ(context, kContext);
  const std::string command = text;
  current_->sent.push_back(command);
  if (current_->heard) current_->heard(command);
  EXPECT_EQ(command, text) << "the text must stand until it is answered";
  return current_->send_result;
}

int ModelTest::TakePanelText(const char* /*text*/, int context) {
  EXPECT_EQ(context, kContext);
  return 1;
}

}  // namespace hark
