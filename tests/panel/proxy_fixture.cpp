// The recording behind the panels and the model of these tests, and the globals that they set.
#include "panel/proxy_fixture.h"

#include <map>
#include <utility>

#include "addressing/sources.h"
#include "daemon/station/listenvol.h"
#include "daemon/station/station.h"
#include "panel/party.h"

namespace hark {
namespace {

constexpr int kModelContext = -7;  // no panel has it

std::map<int, std::string> sent_to;
std::vector<std::string> model_sent;
const std::vector<std::unique_ptr<HarkUIProxy>>* attached = nullptr;

int note_panel(const char* text, int context) {
  sent_to[context] += text;
  return 1;
}

int note_model(const char* text, int context) {
  EXPECT_EQ(context, kModelContext);
  model_sent.emplace_back(text);
  return 1;
}

int any_autoanswer() {
  for (const auto& panel : *attached) {
    if (panel->aans()) return 1;
  }
  return 0;
}

}  // namespace

std::string channel_file(const std::vector<std::string>& labels) {
  std::string text = "SHIFT LABL:\"Day\"\n";
  for (std::size_t i = 0; i < labels.size(); ++i) {
    if (!labels[i].empty()) text += "HARKCH " + std::to_string(i + 1) + " LABL:\"" + labels[i] + "\"\n";
  }
  return text + "\n";
}

ProxyTest::ProxyTest()
    : sources_before_(harksources_file),
      table_before_(table_file),
      dynamic_before_(HarkResolv_dynamic),
      autoanswer_before_(harkd_has_autoanswer_callback) {
  harksources_file = scratch.File("hark_sources");
  table_file = scratch.File("table");
  HarkResolv_dynamic = nullptr;
  attached = &panels;
  harkd_has_autoanswer_callback = any_autoanswer;
  station_reset();
  Stations(kStations);
  Forget();
}

ProxyTest::~ProxyTest() {
  panels.clear();
  model.reset();
  listenvol_cleanup();
  harkd_dynamicsources.clear();
  harksources_file = sources_before_;
  table_file = table_before_;
  HarkResolv_dynamic = dynamic_before_;
  harkd_has_autoanswer_callback = autoanswer_before_;
  attached = nullptr;
  station_reset();
}

HarkUIProxyShared& ProxyTest::Model() {
  if (!model) {
    const std::string folder = scratch.path().substr(0, scratch.path().size() - 1);
    model = HarkUIProxyShared::Create(nkeys, folder, note_model, kModelContext);
  }
  return *model;
}

HarkUIProxy& ProxyTest::Attach(int type, int first, int last, int aans) {
  const int context = static_cast<int>(panels.size());
  panels.push_back(
      HarkUIProxy::Create("p" + std::to_string(context), first, last, aans, &Model(), note_panel, context));
  panels.back()->type = type;
  return *panels.back();
}

HarkUIProxy& ProxyTest::AttachUpToDate(int type, int first, int last) {
  HarkUIProxy& panel = Attach(type, first, last);
  Model().dirty = 0;
  panel.Notify(kDirtyAll, 0);
  Forget();
  return panel;
}

void ProxyTest::Refresh() {
  const std::uint32_t flags = std::exchange(Model().dirty, 0);
  for (auto& panel : panels)
    panel->Notify(flags, 0);
}

void ProxyTest::Party(std::string_view label, std::uint8_t status) {
  icconnections_set(Model().connections, label, status, 0xFF);
}

std::string ProxyTest::Sent(int panel) { return std::exchange(sent_to[panel], {}); }

std::vector<std::string> ProxyTest::Lines(int panel) {
  std::vector<std::string> lines;
  std::string rest = Sent(panel);
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    const std::size_t length = end == std::string::npos ? rest.size() : end + 1;
    lines.push_back(rest.substr(0, length));
    rest.erase(0, length);
  }
  return lines;
}

std::vector<std::string> ProxyTest::Commands() { return std::exchange(model_sent, {}); }

void ProxyTest::Forget() {
  sent_to.clear();
  model_sent.clear();
}

}  // namespace hark
