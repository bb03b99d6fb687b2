// What can be done to the station: as text to the process, as what it means to the model.
#include <map>
#include <optional>

#include "addressing/harkurl.h"
#include "callctl/modifycall.h"
#include "panel/property_bench.h"

namespace hark {
namespace {

// The signature of the console's key `number`.
std::string console_key_name(int type, int number) {
  static const std::map<int, std::string> kNames{{41, "KTAA"}, {42, "KLAA"}, {49, "MICM"}, {50, "SPKM"},
                                                 {51, "TGRP"}, {52, "ASGN"}, {130, "MENU"}};
  const auto found = kNames.find(number);
  if (found != kNames.end()) return found->second;
  if (type == HarkUIProxy::kModuleColour) return reference::key_name("KX", number);
  return reference::key_name(number % 2 == 1 ? "KT" : "KL", (number + 1) / 2);
}

}  // namespace

void Bench::NetworkKey(std::size_t panel, const std::string& key, bool down, bool stamped) {
  std::uint32_t ms = NowMs();
  std::string line =
      "HARKUI#" + reference_->panels[panel].id + ".BUT#" + key + " KEY=" + (down ? "DOWN" : "UP");
  if (stamped) {
    if (panel == 1) ms += skew_ms_;
    line += " T=" + std::to_string(ms);
  }
  Note(line);
  if (down) {
    down_.insert({panel, key});
  } else {
    down_.erase({panel, key});
  }
  panels_.at(panel)->harkui_receive(line.c_str());
  reference_->network_key(panel, key, down, ms);
  CompareCommands();
}

void Bench::ConsoleKey(int number, bool down) {
  const int type = panels_[kConsole]->type;
  const char* object = type == HarkUIProxy::kModuleColour && number <= 40 ? ".key#" : ".btn#";
  const std::string line = object + std::to_string(number) + " KEY=" + (down ? "D" : "U");
  reference::MenuItem item;
  if (const HarkUI_ScrollItem* selected = panels_[kConsole]->menu().selected_item())
    item = {selected->id, selected->text};
  Note("console" + line + " item " + std::to_string(item.id) + " " + item.text);
  if (down) {
    console_down_.insert(number);
  } else {
    console_down_.erase(number);
  }
  panels_[kConsole]->harkui_receive_surface(line.c_str());
  reference_->console_key(kConsole, console_key_name(type, number), down ? 'D' : 'U', item, NowMs());
  CompareCommands();
}

void Bench::ConsoleRotary(int number, int clicks) {
  const std::string line = ".btn#" + std::to_string(number) + " rot=" + std::to_string(clicks);
  Note("console" + line);
  panels_[kConsole]->harkui_receive_surface(line.c_str());
  if (number == 129) reference_->console_rotary(kConsole, clicks);
  CompareCommands();
}

void Bench::FaderOff(bool down) {
  const std::string line = std::string("FaCH#3 OFF_But=") + (down ? "D" : "U");
  Note("console " + line);
  fader_down_ = down;
  panels_[kConsole]->harkui_receive_surface(line.c_str());
  reference_->panels[kConsole].fader_off = down;
  CompareCommands();
}

void Bench::Fader(std::size_t panel, const std::string& key, bool absolute, int value) {
  const std::string line = "FAD#" + key + (absolute ? " gain=" : " dgain=") + std::to_string(value);
  Note(reference_->panels[panel].id + " " + line);
  panels_.at(panel)->harkui_receive(line.c_str());
  reference_->fader(panel, key, absolute ? std::optional(value) : std::nullopt, value);
  CompareCommands();
}

void Bench::Display(std::size_t panel, const std::string& key, const std::string& label) {
  const std::string line = "DISP#" + key + " TEXT=\"" + label + "\"";
  Note(reference_->panels[panel].id + " " + line);
  panels_.at(panel)->harkui_receive(line.c_str());
  reference_->display(key, label);
  CompareCommands();
}

void Bench::SelectShift(std::size_t panel, const std::string& label) {
  const std::string line = "HARKUI#" + reference_->panels[panel].id + ".SEL#SHIFT TEXT=\"" + label + "\"";
  Note(line);
  panels_.at(panel)->harkui_receive(line.c_str());
  reference_->select_shift(label);
  CompareCommands();
}

void Bench::Reattach(bool aans) {
  Note(std::string("wall attaches anew, AANS ") + (aans ? "1" : "0"));
  AttachPanel(1, "wall", HarkUIProxy::kNetworkPanel, 5, 12, aans);
}

void Bench::Contact(int kind, const std::string& url, char wish) {
  Note("contact " + std::to_string(kind) + " " + wish + " " + url);
  harkurl_info info;
  (void)harkurl_parse(url.c_str(), &info);
  remotecommand(kind, &info, wish);
  reference_->calls.remote(kind, url, wish);
  CompareCommands();
}

void Bench::Confirm(int port, bool active) {
  Note("far device of talk line " + std::to_string(port) + (active ? " takes us" : " gives us up"));
  ifb_update_status(port, active);
  reference_->calls.confirm(port, active);
  CompareCommands();
}

void Bench::VolumeReport(int line, int volume) {
  Note("volume of listen line " + std::to_string(line) + " is " + std::to_string(volume));
  sipctrl_qndstvolumechanged(line, volume);
  reference_->volume_report(line, volume);
  CompareCommands();
}

void Bench::WriteSources(const std::vector<reference::Source>& sources) {
  reference_->sources.file = sources;
  folder_.Write("hark_sources", reference_->sources.text());
  Note("source file:\n" + reference_->sources.text());
}

void Bench::WriteChannels(const std::vector<reference::Section>& sections) {
  reference_->channels = {true, sections};
  reference_->rewritten = true;
  folder_.Write("harkch.conf", reference_->channels.text());
  Note("channel file:\n" + reference_->channels.text());
}

void Bench::RemoveChannels() {
  Note("channel file removed");
  if (folder_.Has("harkch.conf")) folder_.Remove("harkch.conf");
  reference_->channels = {false, {}};
  reference_->rewritten = false;
}

}  // namespace hark
