#include "tools/quillsim/sim.h"

#include <utility>

#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

constexpr std::string_view kErrorLine = "ERROR 1000 bad command";

}  // namespace

Sim::Sim(SimOptions options, Printer printer) : options_(std::move(options)), printer_(std::move(printer)) {}

bool Sim::send(std::string_view line) { return send_raw(std::string(line) + "\r\n"); }

void Sim::forget_records() {
  received_.clear();
  changes_.clear();
  refused_.clear();
}

void Sim::link_opened(const std::string& from) {
  print("station connected from " + from);
  for (const std::string& line : options_.greeting)
    (void)send(line);
}

void Sim::link_turned_away(const std::string& from) {
  print("a second station from " + from + " turned away");
}

void Sim::wire_line(std::string_view line) {
  received_.emplace_back(without_line_end(line));
  const ParsedLine parsed = parse_command(line);
  if (!parsed.command) return refuse(line, parsed.error);
  const std::string error = std::visit([this](const auto& command) { return run(command); }, *parsed.command);
  if (!error.empty()) refuse(line, error);
}

void Sim::wire_closed() {
  const bool had_mixer = mixer_.created();
  mixer_.remove();
  print("station disconnected");
  if (had_mixer) note_change("hark#1 removed with its connection");
}

std::string Sim::run(const GetSupvState&) {
  (void)send(options_.supv_line);
  return {};
}

std::string Sim::run(const CreateMixer& command) {
  if (mixer_.created()) return "hark#1 is created already";
  note_change(mixer_.apply(command));
  return {};
}

std::string Sim::run(const SetSource& command) {
  print("source " + std::to_string(command.source) + " RTPA:" + quote(command.rtpa) +
        " RTPT:" + printable(quote(command.rtpt)));
  return {};
}

std::string Sim::run(const Shut&) {
  print("station says SHUT");
  return {};
}

template <typename MixerSet>
std::string Sim::run(const MixerSet& command) {
  if (!mixer_.created()) return "hark#1 is not created yet";
  note_change(mixer_.apply(command));
  return {};
}

void Sim::note_change(std::string change) {
  if (change.empty()) return;
  print(change);
  changes_.push_back(std::move(change));
}

void Sim::refuse(std::string_view line, std::string_view reason) {
  ever_refused_ = true;
  refused_.push_back({std::string(line), std::string(reason)});
  print("REFUSED: " + std::string(reason) + ": " + printable(line));
  (void)send(kErrorLine);
}

void Sim::print(const std::string& line) {
  if (printer_) printer_(line);
}

}  // namespace quillsim
