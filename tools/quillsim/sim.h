// The simulated routing daemon itself: one listening socket, one station, one mixer. It answers the station,
// refuses what is not well formed, and remembers all that came in. Several may live in one process; none
// blocks, each is driven by its owner's loop with fill() and serve(), or by pump() where there is no loop.
#pragma once

#include <sys/select.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/quillsim/command.h"
#include "tools/quillsim/link.h"
#include "tools/quillsim/mixer.h"

namespace quillsim {

inline constexpr int kDefaultPort = 4010;

struct SimOptions {
  // The answer to "get supv state". By default it names no console, so that the station looks for none.
  std::string supv_line = "SUPV CONSOLE_IP:0.0.0.0";
  // Lines for each station that connects, as a routing daemon tells a new client its sources.
  std::vector<std::string> greeting = {};
};

class Sim : private LinkUser {
 public:
  // Gets each line that a person should see: changes of the mixer, connections, refusals.
  using Printer = std::function<void(const std::string& line)>;

  explicit Sim(SimOptions options = {}, Printer printer = {});

  // Starts to listen at the dotted `address`; port 0 picks a free one. Returns the port, or -1 with errno
  // set.
  [[nodiscard]] int listen(const std::string& address, int port) { return link_.listen(address, port); }
  // Closes the listening socket; a connected station stays.
  void stop_listening() { link_.stop_listening(); }
  [[nodiscard]] bool listening() const { return link_.listening(); }

  // Adds the sockets that can be served now, and serves those that select(2) found ready.
  void fill(fd_set& read, fd_set& write, int& highest) const { link_.fill(read, write, highest); }
  void serve(const fd_set& read, const fd_set& write) { link_.serve(read, write); }
  // fill, select and serve in one, for an owner without a loop. Whether anything was ready in that time.
  bool pump(int timeout_ms) { return link_.pump(timeout_ms); }

  [[nodiscard]] bool connected() const { return link_.connected(); }
  // How many stations have been taken in since the start.
  [[nodiscard]] int connections() const { return link_.connections(); }
  // Ends the connection; the mixer goes with it.
  void close_station() { link_.close(); }
  // Sends the line with CR LF behind it, or the bytes as they are. What the station does not take at once
  // waits here. False when no station is connected.
  bool send(std::string_view line);
  bool send_raw(std::string_view bytes) { return link_.send_raw(bytes); }
  // Bytes that wait for the station to read.
  [[nodiscard]] std::size_t unsent() const { return link_.unsent(); }
  // Off: plays a daemon that hangs and reads nothing more.
  void set_reading(bool on) { link_.set_reading(on); }

  [[nodiscard]] const Mixer& mixer() const { return mixer_; }
  // All that the station sent, a line each without its end; the mixer's changes as printed; what was refused.
  [[nodiscard]] const std::vector<std::string>& received() const { return received_; }
  [[nodiscard]] const std::vector<std::string>& changes() const { return changes_; }
  [[nodiscard]] const std::vector<Refusal>& refused() const { return refused_; }
  // Whether any line was refused since the start, forgotten ones too.
  [[nodiscard]] bool ever_refused() const { return ever_refused_; }
  // Empties the three records, for whoever runs for long or counts from here on.
  void forget_records();

 private:
  void link_opened(const std::string& from) override;
  void link_turned_away(const std::string& from) override;
  void wire_line(std::string_view line) override;
  void wire_bad_line(std::string_view line, std::string_view reason) override { refuse(line, reason); }
  void wire_closed() override;
  // Each carries one command out; gives why it does not fit the mixer's state, or an empty text.
  std::string run(const GetSupvState& command);
  std::string run(const CreateMixer& command);
  std::string run(const SetSource& command);
  std::string run(const Shut& command);
  template <typename MixerSet>
  std::string run(const MixerSet& command);
  void note_change(std::string change);
  void refuse(std::string_view line, std::string_view reason);
  void print(const std::string& line);

  SimOptions options_;
  Printer printer_;
  Link link_{*this};
  Mixer mixer_;
  std::vector<std::string> received_;
  std::vector<std::string> changes_;
  std::vector<Refusal> refused_;
  bool ever_refused_ = false;
};

}  // namespace quillsim
