// The far ends that the measured station talks to, on plain TCP sockets of 127.0.x.x: connections by lines, a
// process that echoes, and a process that keeps fifteen connections busy.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "base/fd.h"
#include "process.h"

namespace hark::bench {

// A listening socket of 127.0.0.1.
class Listener {
 public:
  Listener();
  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] int fd() const { return fd_.get(); }
  // The next connection; a closed one when none comes within 10 s.
  [[nodiscard]] UniqueFd accept() const;

 private:
  UniqueFd fd_;
  int port_ = 0;
};

// A port of 127.0.0.1 that was free a moment ago.
[[nodiscard]] int free_port();

// A connection to 127.0.0.1 from 127.0.0.`host`, or from 127.0.1.`host - 256`; a closed one when it fails.
[[nodiscard]] UniqueFd connect_from(int host, int port);

// One line connection. A read waits 5 s at most, and is_lost() tells of any failure from then on.
class LineConnection {
 public:
  explicit LineConnection(UniqueFd fd);
  void send(std::string_view text);
  // Reads up to the next line that begins with `start`, and gives it; what comes before it is passed over.
  std::string wait_for(std::string_view start);
  // Reads up to the end of the next place that is `text`, whatever stands before it.
  void read_past(std::string_view text);
  // Reads `size` bytes.
  void read(std::size_t size);
  // Reads what has come, without waiting.
  void drain();
  [[nodiscard]] bool is_lost() const { return lost_; }
  // Reads look for data all the time from here on, in place of waiting for it.
  void set_busy_waiting(bool on) { busy_waiting_ = on; }

 private:
  bool receive();
  UniqueFd fd_;
  std::string unread_;
  bool lost_ = false;
  bool busy_waiting_ = false;
};

// A process whose loop is as plain as can be, with the daemon's own wait of 10 ms: for every `request` bytes
// that come on its first connection it sends `reply` bytes on its second one, as the daemon answers a client
// on the connection of the mixer.
class EchoProcess {
 public:
  EchoProcess(std::size_t request, std::size_t reply);
  [[nodiscard]] LineConnection connect() const;

 private:
  Listener listener_;
  std::unique_ptr<Helper> process_;
};

inline constexpr int kBusyConnections = 15;

// A process with fifteen clients of the station, five each from three hosts, that have subscribed to
// everything and read what comes. Each sends a command every 10 ms, in turn: a version, a read of a contact,
// a volume of one of the `volume_urls` sources "<prefix><n>", a read of the settings.
class BusyProcess {
 public:
  BusyProcess(int ctrl_port, std::string volume_prefix, int volume_urls);
  // Whether all fifteen are connected and subscribed.
  [[nodiscard]] bool is_running() const { return running_; }

 private:
  std::unique_ptr<Helper> process_;
  bool running_ = false;
};

}  // namespace hark::bench
