// A real harkd as a process of its own, with what it needs beside it: a root folder, a routing daemon, and
// one client of its control port. Its owner's loop serves them by fill() and serve(); it ends with this.
#pragma once

#include <sys/select.h>
#include <sys/types.h>

#include <deque>
#include <string>
#include <string_view>

#include "base/fd.h"
#include "tools/quillsim/sim.h"

namespace callsoak {

// 127.x.y.z of this process and that number, 1 to 3, which no other process uses.
[[nodiscard]] std::string own_address(unsigned who);

struct StationOptions {
  std::string harkd;          // the program
  std::string address;        // that its SIP runs on
  int sip_port = 5058;        // base of its SIP ports: listen service +1, talk service +2
  std::string settings = {};  // lines that the routing daemon tells it besides its name and source
  std::string wrapper = {};  // words in front of the program, with blanks between them: "valgrind --tool=..."
};

// What the process takes, from /proc; -1 where that cannot be read.
struct Figures {
  long rss_kib = -1;
  long peak_kib = -1;
  long descriptors = -1;
};

class Station {
 public:
  explicit Station(StationOptions options);
  Station(const Station&) = delete;
  Station& operator=(const Station&) = delete;
  ~Station();

  // Starts it and waits until its clients are answered and it can make calls. False, with the reason on
  // stderr.
  [[nodiscard]] bool start();
  // Ends it; its exit status, 128 + number when a signal ended it.
  int stop();

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] bool alive();
  [[nodiscard]] Figures figures() const;

  // Sends a line to the control port.
  void send(std::string_view line);
  // The next line that has come from there without its end; false when there is none yet.
  [[nodiscard]] bool next_line(std::string& line);

  void fill(fd_set& read, fd_set& write, int& highest) const;
  void serve(const fd_set& read, const fd_set& write);
  // Both with a wait between them. For owners without sockets of their own.
  void pump(int timeout_ms);
  // Sends the line and waits up to ten seconds for one that begins with `answer`.
  [[nodiscard]] bool ask(std::string_view line, std::string_view answer);

 private:
  [[nodiscard]] bool make_root();
  [[noreturn]] void become_harkd(int routing_port) const;
  [[nodiscard]] bool connect();
  void read_control();

  StationOptions options_;
  quillsim::Sim routing_;
  std::string root_;
  int control_port_ = 0;
  hark::UniqueFd control_;
  std::string unread_;
  std::deque<std::string> lines_;
  pid_t pid_ = -1;
};

}  // namespace callsoak
