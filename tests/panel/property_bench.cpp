// The process and its model are put up and taken down here, with the hooks that start-up fills; and the pass.
#include "panel/property_bench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "callctl/line_table.h"
#include "callctl/modifycall.h"
#include "callctl/sipctrl.h"
#include "daemon/qnrlib/qnrdb.h"
#include "daemon/server.h"
#include "daemon/server_cmd.h"
#include "daemon/station/listenvol.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

constexpr TimeUs kSlowPeriodUs = 3'000'000;
constexpr std::size_t kHistory = 40;

std::string channels_path(const ScratchFolder& folder) { return folder.File("harkch.conf"); }

}  // namespace

Bench* Bench::current_ = nullptr;

Bench::Bench(reference::Sources sources, const reference::ChannelFile& channels, int console_type,
             std::uint32_t skew_ms)
    : skew_ms_(skew_ms), sources_before_(harksources_file), table_before_(table_file) {
  current_ = this;
  station_reset();
  listenvol_cleanup();
  harkd_dynamicsources.clear();
  harksources_file = folder_.Write("hark_sources", sources.text());
  table_file = folder_.File("table");
  folder_.Write("harkch.conf", channels.text());
  EXPECT_EQ(sipctrl_initialize(), 0);
  StationIdentity identity;
  identity.name = "Bench";
  identity.ip = 0x7F530001;  // 127.83.0.1: services open their sockets there
  identity.port = 5060;
  EXPECT_EQ(sipctrl_createservice(identity), 0);
  sipctrl_modifycall_callback = TakeReport;
  sipctrl_modifycallvolume_callback = TakeVolume;
  harkd_has_autoanswer_callback = AnyAutoAnswer;
  qnrdb_hooks.model_receive = [](const char* text) { current_->model_->harkd_receive(text); };
  const std::string path = folder_.path().substr(0, folder_.path().size() - 1);
  model_ = HarkUIProxyShared::Create(kBenchKeys, path, TakeCommand, kInternalConnection);
  reference_ = std::make_unique<reference::Station>(kBenchKeys, std::move(sources), channels,
                                                    harksources_file, channels_path(folder_));
  slow_time_ = clock_.Now();
  AttachAll(console_type);
}

Bench::~Bench() {
  for (auto& panel : panels_)
    panel.reset();
  sipctrl_modifycall_callback = [](const char*, char, char) {};
  sipctrl_modifycallvolume_callback = [](const char*, long) {};
  sipctrl_done();
  model_.reset();
  qnrdb_hooks = {};
  harkd_has_autoanswer_callback = harkd_has_autoanswer;
  harkd_dynamicsources.clear();
  harksources_file = sources_before_;
  table_file = table_before_;
  listenvol_cleanup();
  station_reset();
  current_ = nullptr;
}

int Bench::TakeCommand(const char* text, int context) {
  current_->sent_.emplace_back(text);
  current_->OweByCommand(text);
  return harkui_receive(text, context);
}

int Bench::TakePanelText(const char* text, int context) {
  current_->panel_text_.at(static_cast<std::size_t>(context)) += text;
  return 1;
}

void Bench::TakeReport(const char* url, char listen, char talk) {
  const std::string address = reference::address_of(url);
  if (listen == '0' || listen == 'd') current_->owed_.erase({address, 'L'});
  if (talk == '0') current_->owed_.erase({address, 'T'});
  qnrdb_indi(kAllConnections, "CALL", -1, fmt_call_indi(url, listen, talk, nullptr).data());
}

void Bench::TakeVolume(const char* url, long volume) {
  qnrdb_indi(kAllConnections, "CALL", -1, fmt_call_indi(url, 0, 0, &volume).data());
}

int Bench::AnyAutoAnswer() {
  int count = 0;
  for (const auto& panel : current_->panels_)
    count += panel && panel->aans() ? 1 : 0;
  return count;
}

void Bench::OweByCommand(const std::string& command) {
  if (!command.starts_with("CALL ")) return;
  const std::string address = reference::address_of(command);
  for (const auto& [tag, direction] : {std::pair{" TALK:", 'T'}, std::pair{" LISTEN:", 'L'}}) {
    if (command.find(std::string(tag) + "1") != std::string::npos) owed_.insert({address, direction});
    if (command.find(std::string(tag) + "0") != std::string::npos) owed_.erase({address, direction});
  }
}

void Bench::Note(const std::string& what) { history_.push_back(std::to_string(NowMs()) + " " + what); }

std::string Bench::History() const {
  std::string out;
  for (std::size_t i = history_.size() > kHistory ? history_.size() - kHistory : 0; i < history_.size(); ++i)
    out += history_[i] + "\n";
  return out;
}

std::uint32_t Bench::NowMs() const { return static_cast<std::uint32_t>(clock_.Now() / kUsPerMs); }

void Bench::AttachAll(int console_type) {
  AttachPanel(0, "desk", HarkUIProxy::kNetworkPanel, 1, kBenchKeys, false);
  AttachPanel(1, "wall", HarkUIProxy::kNetworkPanel, 5, 12, false);
  AttachPanel(kConsole, "1", console_type, 1, console_type == 1 ? 20 : 10, console_type == 1);
}

void Bench::AttachPanel(std::size_t i, const std::string& id, int type, int first, int last, bool aans) {
  reference::Panel panel;
  panel.id = id;
  panel.type = type;
  panel.first = first;
  panel.last = last;
  panel.aans = aans;
  panels_.at(i) =
      HarkUIProxy::Create(id, first, last, aans ? 1 : 0, model_.get(), TakePanelText, static_cast<int>(i));
  panels_.at(i)->type = type;
  panel_text_.at(i).clear();
  lamps_.at(i).clear();
  panels_.at(i)->Notify(kDirtyAll, 0);
  if (reference_->panels.size() <= i) reference_->panels.resize(i + 1);
  reference_->attach(i, std::move(panel));
  TakeLamps(i);
  CompareCommands();
}

void Bench::AdvanceMs(long ms) { clock_.AdvanceMs(ms); }

void Bench::Pass(bool network_changed) {
  const TimeUs now = clock_.Now();
  sipctrl_process(now);
  reference_->calls.process(now);
  CompareCommands();
  if (network_changed || now - slow_time_ > kSlowPeriodUs) {
    Note("timer");
    slow_time_ = now;
    model_->TimerAction();
    reference_->timer_action();
  }
  const std::uint32_t mask = std::exchange(model_->dirty, 0U);
  for (auto& panel : panels_)
    panel->Notify(mask, now);
  reference_->notify();
  CompareCommands();
  for (std::size_t i = 0; i < kPanels; ++i)
    TakeLamps(i);
  CompareLines();
  CompareParties();
  CompareModel();
  ComparePanels();
  CompareMixer();
}

}  // namespace hark
