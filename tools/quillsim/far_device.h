// A simulated foreign device: another routing daemon, whose numbered destinations a talking station takes
// over for as long as it talks. It tells everybody who is connected what each destination carries, takes sets
// from those who have logged in, and can play what makes life hard for a station: somebody else at the same
// destination, a device that says nothing, reads nothing, refuses or cuts. Driven like Sim, beside it or
// alone.
#pragma once

#include <sys/select.h>

#include <functional>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/quillsim/scanner.h"
#include "tools/quillsim/wire.h"

namespace quillsim {

inline constexpr int kFarDestinations = 16;  // of every device; --far-dst may add some
inline constexpr int kMaxFarDestination = 9999;

struct FarDeviceOptions {
  // What LOGIN has to give. Empty: whatever it gives will do.
  std::string password = {};
  // What destinations carry at the start; the others carry nothing.
  std::map<int, std::string> addresses = {};
};

class FarDevice {
 public:
  // Gets each line that a person should see: who takes which destination, connections, refusals.
  using Printer = std::function<void(const std::string& line)>;

  explicit FarDevice(FarDeviceOptions options = {}, Printer printer = {});

  // As of Sim, but for several clients.
  [[nodiscard]] int listen(const std::string& address, int port);
  void stop_listening() { listener_.stop(); }
  // At the place of the last time. False when that cannot be had.
  [[nodiscard]] bool listen_again() { return port_ >= 0 && listen(address_, port_) == port_; }
  [[nodiscard]] bool listening() const { return listener_.listening(); }
  void fill(fd_set& read, fd_set& write, int& highest) const;
  void serve(const fd_set& read, const fd_set& write);
  bool pump(int timeout_ms) { return quillsim::pump(*this, timeout_ms); }
  // How many are connected now, and have been taken in since the start.
  [[nodiscard]] int clients() const;
  [[nodiscard]] int connections() const { return connections_; }
  void close_clients();
  // Sends to all: the line with CR LF behind it, or the bytes as they are. False when nobody is connected.
  bool send(std::string_view line) { return send_raw(std::string(line) + "\r\n"); }
  bool send_raw(std::string_view bytes);
  // Off: plays a device that hangs and reads nothing more.
  void set_reading(bool on) { reading_ = on; }
  // Off: plays one that takes every line and says and does nothing.
  void set_answering(bool on) { answering_ = on; }

  // Somebody else sets the destination: "1.2.3.4 <^PTT>" plays another talker. False when there is none of
  // this number.
  bool set_address(int dst, const std::string& addr);
  // What each destination carries, a line each as the device tells it; those that carry nothing are left out.
  [[nodiscard]] std::vector<std::string> describe() const;
  // What the destination carries, without quotes and escapes; empty also when there is none.
  [[nodiscard]] std::string address(int dst) const;

  // The records are kept and emptied as those of Sim; lines of all clients in the order in which they came.
  [[nodiscard]] const std::vector<std::string>& received() const { return received_; }
  [[nodiscard]] const std::vector<std::string>& changes() const { return changes_; }
  [[nodiscard]] const std::vector<Refusal>& refused() const { return refused_; }
  [[nodiscard]] bool ever_refused() const { return ever_refused_; }
  void forget_records();

 private:
  struct Client : WireUser {
    Client(FarDevice& owner, Listener::Arrival arrival);
    void wire_line(std::string_view line) override { device.take_line(*this, line); }
    void wire_bad_line(std::string_view line, std::string_view reason) override {
      device.refuse(*this, line, reason, {});
    }
    void wire_closed() override { device.print("far device: " + from + " disconnected"); }

    FarDevice& device;
    std::string from;
    bool logged_in = false;
    Wire wire{*this};
  };

  void take_line(Client& client, std::string_view line);
  // Each reads one command behind its word; false when it is not well formed.
  bool tell_all(Client& client, Scanner& in);
  bool log_in(Client& client, std::string_view line, Scanner& in);
  bool set(Client& client, std::string_view line, Scanner& in);
  void change(int dst, const std::string& addr, const std::string& who);
  [[nodiscard]] std::string dst_line(int dst) const;
  // Answers with `answer` unless that is empty.
  void refuse(Client& client, std::string_view line, std::string_view reason, std::string_view answer);
  void print(const std::string& line);

  std::string password_;
  std::map<int, std::string> addresses_;
  Printer printer_;
  Listener listener_;
  std::string address_;  // where it listened last
  int port_ = -1;
  std::list<Client> clients_;  // closed ones too, until the next serve()
  int connections_ = 0;
  bool reading_ = true;
  bool answering_ = true;
  std::vector<std::string> received_;
  std::vector<std::string> changes_;
  std::vector<Refusal> refused_;
  bool ever_refused_ = false;
};

}  // namespace quillsim
