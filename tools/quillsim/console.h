// A simulated mixing console: a TCP port that the station dials, and an intercom key module behind it whose
// keys a test or a script presses. It answers what the station asks, keeps what the station sets, and refuses
// what is not well formed or does not fit the module. Driven like Sim, beside it or alone.
#pragma once

#include <sys/select.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/quillsim/key_module.h"
#include "tools/quillsim/link.h"

namespace quillsim {

class Console : private LinkUser {
 public:
  // Gets each line that a person should see: what the station changed, connections, refusals.
  using Printer = std::function<void(const std::string& line)>;

  // `type` is the module that is plugged in: 1, 2, 3, kNoModule, or a number that the station does not know.
  explicit Console(int type, Printer printer = {});

  // As of Sim.
  [[nodiscard]] int listen(const std::string& address, int port) { return link_.listen(address, port); }
  void stop_listening() { link_.stop_listening(); }
  [[nodiscard]] bool listening() const { return link_.listening(); }
  void fill(fd_set& read, fd_set& write, int& highest) const { link_.fill(read, write, highest); }
  void serve(const fd_set& read, const fd_set& write) { link_.serve(read, write); }
  bool pump(int timeout_ms) { return link_.pump(timeout_ms); }
  [[nodiscard]] bool connected() const { return link_.connected(); }
  [[nodiscard]] int connections() const { return link_.connections(); }
  // Ends the connection: the module goes dark, held keys stay down.
  void close_station() { link_.close(); }
  // Sends a line with CR LF, or the bytes as they are: what no sound console says, for example.
  bool send(std::string_view line);
  bool send_raw(std::string_view bytes) { return link_.send_raw(bytes); }
  [[nodiscard]] std::size_t unsent() const { return link_.unsent(); }
  void set_reading(bool on) { link_.set_reading(on); }

  // The station has subscribed to the module on this connection. Before that no event below goes out.
  [[nodiscard]] bool subscribed() const { return subscribed_; }

  // Each plays the operator; false when no station listens. Numbers that no module has are sent as well.
  // Down and up again in one go; down; up.
  bool press(int key);
  bool hold(int key);
  bool release(int key);
  // A rotary or the menu knob, clockwise when positive.
  bool turn(int rotary, int clicks);
  // The off button of a fader.
  bool off_button(int fader, bool down);
  // Another module is plugged in, kNoModule: none. It starts dark. A station that has not subscribed asks
  // when it does; the others are told.
  void set_type(int type);
  // Keys that are down now.
  [[nodiscard]] const std::set<int>& held() const { return held_; }

  // What the station has set.
  [[nodiscard]] const KeyModule& module() const { return module_; }
  [[nodiscard]] int type() const { return module_.type(); }
  [[nodiscard]] Lamp lamp(int button) const { return module_.lamp(button); }
  [[nodiscard]] KeyLight light(int key) const { return module_.light(key); }
  [[nodiscard]] std::string display(int display, int line) const { return module_.display(display, line); }
  [[nodiscard]] std::string label(int channel) const { return module_.label(channel); }
  [[nodiscard]] const Menu& menu() const { return module_.menu(); }
  [[nodiscard]] std::optional<int> fader_source(int fader) const { return module_.fader_source(fader); }
  [[nodiscard]] std::optional<bool> talk_on() const { return module_.talk_on(); }
  [[nodiscard]] std::optional<bool> listen_on() const { return module_.listen_on(); }

  // How many lines came since the start, whole ones.
  [[nodiscard]] int lines_received() const { return lines_received_; }
  // Counts up with everything that changes how the module looks.
  [[nodiscard]] int looks() const { return looks_; }
  // The records are kept and emptied as those of Sim.
  [[nodiscard]] const std::vector<std::string>& received() const { return received_; }
  [[nodiscard]] const std::vector<std::string>& changes() const { return changes_; }
  [[nodiscard]] const std::vector<Refusal>& refused() const { return refused_; }
  [[nodiscard]] bool ever_refused() const { return ever_refused_; }
  void forget_records();

 private:
  void link_opened(const std::string& from) override;
  void link_turned_away(const std::string& from) override;
  void wire_line(std::string_view line) override;
  void wire_bad_line(std::string_view line, std::string_view reason) override { refuse(line, reason); }
  void wire_closed() override;
  bool event(const std::string& text);
  [[nodiscard]] std::string key_text(int key, bool down) const;
  void carry_out(std::string_view line, const ConsoleCommand& command);
  void refuse(std::string_view line, std::string_view reason);
  void print(const std::string& line);

  Printer printer_;
  KeyModule module_;
  // Modules before the one that is in now: what the station said to those may still be on its way.
  std::set<int> former_types_;
  bool subscribed_ = false;
  std::set<int> held_;
  int lines_received_ = 0;
  int looks_ = 0;
  std::vector<std::string> received_;
  std::vector<std::string> changes_;
  std::vector<Refusal> refused_;
  bool ever_refused_ = false;
  Link link_{*this};
};

}  // namespace quillsim
