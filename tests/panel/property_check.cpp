// What is compared, by the text that a failure prints.
#include <gtest/gtest.h>

#include <sstream>

#include "callctl/line_table.h"
#include "panel/property_bench.h"

namespace hark {
namespace {

template <typename List, typename Text>
std::string joined(const List& list, Text text) {
  std::string out;
  for (const auto& item : list)
    out += text(item) + "; ";
  return out;
}

template <typename Line>
std::string line_text(const Line& line) {
  if (line.url.empty()) return "";
  return line.url + " '" + line.state + "'" + (line.drop_pending ? " dropping" : "");
}

template <typename Table, typename Model>
std::string compare_table(const Table& table, const Model& model) {
  for (std::size_t i = 0; i < model.size(); ++i) {
    const std::string process_line = line_text(table[i]);
    const std::string model_line = line_text(model[i]);
    if (process_line != model_line) return std::to_string(i) + ": " + process_line + " / " + model_line;
  }
  return "";
}

// An entry as its line in the file tells it.
std::string entry_text(const std::optional<std::string>& label, const std::optional<std::string>& url,
                       unsigned flags) {
  if (!label && !url) return "";
  std::string out = label.value_or("");
  if (url && !url->starts_with("*")) out += " " + *url;
  return out + (flags != 0 ? " " + std::to_string(flags) : "");
}

template <typename Table>
std::string table_text(const Table& table) {
  std::string out;
  for (std::size_t i = 0; i < table.entries.size(); ++i) {
    const auto& entry = table.entries[i];
    const std::string text = entry_text(entry.label, entry.url, entry.flags);
    if (!text.empty()) out += std::to_string(i + 1) + " " + text + "; ";
  }
  return out + "group " + joined(table.group, [](const std::string& member) { return member; });
}

}  // namespace

void Bench::Fail(const std::string& what, const std::string& process, const std::string& model) {
  ADD_FAILURE() << what << "\n  process: " << process << "\n  model:   " << model << "\n" << History();
}

void Bench::CompareCommands() {
  if (sent_ != reference_->sent) {
    const auto text = [](const std::string& command) { return command; };
    Fail("commands", joined(sent_, text), joined(reference_->sent, text));
  }
  sent_.clear();
  reference_->sent.clear();
  CheckSavedFile();
}

void Bench::CompareLines() {
  const std::string listen = compare_table(listen_lines, reference_->calls.listen);
  if (!listen.empty()) Fail("listen lines", listen, "");
  const std::string talk = compare_table(talk_lines, reference_->calls.talk);
  if (!talk.empty()) Fail("talk lines", talk, "");
}

void Bench::CompareParties() {
  const auto text = [](const auto& party) {
    return party.label + " " + std::to_string(party.status) + (party.idle ? " idle" : "") +
           (party.answered ? " answered" : "");
  };
  const std::string process = joined(model_->connections, text);
  const std::string model = joined(reference_->parties, text);
  if (process != model) Fail("parties", process, model);
  CheckStack();
}

void Bench::CheckStack() {
  const auto entries = model_->callstack.entries();
  std::set<std::string_view> labels;
  for (const CallstackEntry& entry : entries)
    labels.insert(entry.text());
  if (entries.size() > Callstack::kSize) Fail("size of the call stack", std::to_string(entries.size()), "");
  if (labels.size() != entries.size()) Fail("a label is twice on the call stack", "", "");
  const std::string process = joined(entries, [](const CallstackEntry& e) {
    return std::string(e.text()) + " " + std::to_string(e.status);
  });
  const std::string model = joined(reference_->stack, [](const reference::StackEntry& e) {
    return e.label + " " + std::to_string(e.status);
  });
  if (process != model) Fail("call stack", process, model);
}

void Bench::CompareModel() {
  const auto state = [](const auto& m, const char* aa, const char* shift, bool armed, int group) {
    return std::string(aa) + "; shift " + shift + (armed ? "; armed" : "") + "; group " +
           std::to_string(group) + (m.spk_mute ? "; speaker muted" : "") +
           (m.mic_mute ? "; microphone muted" : "") + "; speaker " + std::to_string(m.spk_volume) + "; " +
           joined(m.volumes, [](int v) { return std::to_string(v); });
  };
  const std::string process =
      state(*model_, model_->aa_label.data(), model_->shift.data(), model_->assign_mode == AssignMode::kArmed,
            static_cast<int>(model_->group_state));
  const std::string model = state(*reference_, reference_->aa_label.c_str(), reference_->shift.c_str(),
                                  reference_->assign_armed, static_cast<int>(reference_->group_state));
  if (process != model) Fail("model", process, model);
  if (const unsigned outputs = model_->ComputeGPO(); outputs != reference_->outputs())
    Fail("outputs", std::to_string(outputs), std::to_string(reference_->outputs()));
  const std::string table = table_text(model_->table());
  const std::string expected = table_text(reference_->table);
  if (table != expected) Fail("table", table, expected);
}

void Bench::ComparePanels() {
  for (std::size_t i = 0; i < kPanels; ++i) {
    const reference::Panel& panel = reference_->panels[i];
    for (int key = 0; key < kBenchKeys; ++key) {
      const std::string shown(panels_.at(i)->label_of(key));
      if (shown != panel.label_of(key))
        Fail(panel.id + " key " + std::to_string(key + 1), shown, panel.label_of(key));
    }
    if (lamps_.at(i) == panel.lamps) continue;
    const auto text = [](const auto& lamp) { return lamp.first + " " + lamp.second; };
    Fail("lamps of " + panel.id, joined(lamps_.at(i), text), joined(panel.lamps, text));
  }
}

// Takes the lamps out of what was sent to the panel; none may repeat what it shows.
void Bench::TakeLamps(std::size_t i) {
  std::istringstream in(std::exchange(panel_text_.at(i), {}));
  for (std::string line; std::getline(in, line);) {
    const std::size_t value = line.find(" ", line.find('.'));
    const std::size_t dot = line.find('.');
    if (dot == std::string::npos || value == std::string::npos) continue;
    const std::string object = line.substr(dot + 1, value - dot - 1);
    const bool is_lamp =
        object.starts_with("BUT#") || object.starts_with("btn#") || object.starts_with("key#");
    if (!is_lamp) continue;
    std::string& lamp = lamps_.at(i)[object];
    const std::string now = line.substr(value + 1);
    // A letter that looks the same on this type of panel is sent all the same, and so is a talk key whose
    // flags have changed.
    if (lamp == now && !reference_->panels[i].resent.contains(object)) Fail("sent twice", line, "");
    lamp = now;
  }
  reference_->panels[i].resent.clear();
}

void Bench::CompareMixer() {
  for (const std::string& line : mixer_.Lines()) {
    const std::string begin = "set hark#1.sub#1.in#";
    const std::size_t source = line.find(" src_id=\"");
    if (!line.starts_with(begin) || source == std::string::npos) continue;
    const std::size_t value = source + 9;
    inputs_.at(std::stoul(line.substr(begin.size())) - 1) = line.substr(value, line.find('"', value) - value);
  }
  for (std::size_t i = 0; i < inputs_.size(); ++i) {
    const reference::Line& line = reference_->calls.listen.at(i);
    const std::string heard = line.state == '1' ? reference::address_of(line.url).substr(9) : "";
    if (inputs_.at(i) != heard) Fail("mixer input " + std::to_string(i + 1), inputs_.at(i), heard);
  }
}

// A save of the daemon's own loads to the table it was made from, its group turned round, and leaves the
// other shifts alone.
void Bench::CheckSavedFile() {
  if (std::exchange(saves_seen_, reference_->saves) == reference_->saves) return;
  // A save that the daemon does not note is loaded again. Its time must not be the one it noted last, which
  // it could be on a fast machine: files know the time by the tick.
  if (reference_->last_save_unnoted) {
    folder_.SetTime("harkch.conf", ++save_time_);
    reference_->rewritten = true;  // a time that is not the save's own is another program's
  }
  const auto loaded = ChannelAssignmentTableAlloc(kBenchKeys);
  (void)ChannelAssignmentTableLoad(model_->conf_path, model_->shift.data(), *loaded);
  loaded->group.reverse();
  // A key whose label was taken away keeps its flags in the file, and is an entry without a label there.
  for (ChannelAssignment& entry : loaded->entries) {
    if (!entry.label && entry.flags != 0) entry.label = "";
  }
  const std::string before = table_text(model_->table());
  const std::string after = table_text(*loaded);
  if (before != after) Fail("saved table", before, after);
  for (const reference::Section& section : reference_->channels.sections)
    CheckSavedShift(section.shift, reference_->channels.load(section.shift, kBenchKeys));
}

void Bench::CheckSavedShift(const std::string& shift, const reference::Table& expected) {
  const auto loaded = ChannelAssignmentTableAlloc(kBenchKeys);
  (void)ChannelAssignmentTableLoad(model_->conf_path, shift.c_str(), *loaded);
  const std::string found = table_text(*loaded);
  if (found != table_text(expected)) Fail("saved shift " + shift, found, table_text(expected));
}

void Bench::CheckAgreement() {
  std::map<std::string, unsigned> lines;
  const auto bits = [](char letter) {
    return letter == '1' ? 1U : letter == 'R' ? 2U : letter == 'r' ? 4U : 8U;
  };
  const std::string reported = "1Rrd";
  for (const HarkLine& line : listen_lines) {
    if (!line.url.empty() && reported.find(line.state) != std::string::npos)
      lines[reference_->sources.label_of(line.url)] |= bits(line.state);
  }
  for (const HarkLine& line : talk_lines) {
    if (!line.url.empty() && reported.find(line.state) != std::string::npos)
      lines[reference_->sources.label_of(line.url)] |= bits(line.state) << 4;
  }
  for (const ICCONNECTION& party : model_->connections)
    lines.try_emplace(party.label, 0);
  for (const auto& [label, status] : lines) {
    const auto lost = reference_->forgotten.find(label);
    const unsigned known = lost == reference_->forgotten.end() ? status : status & ~lost->second;
    if (model_->status_of(label) != known)
      Fail("party and lines of " + label, std::to_string(model_->status_of(label)), std::to_string(known));
  }
}

}  // namespace hark
