// A simulated device on the multicast group over which stations ask to talk into a channel. It takes the
// requests, lets the first who asks hold the channel until the release or the end of the lease, and answers
// with the channel's state; it can also keep silent, answer late, several times or for another channel. The
// caller hands the time down.
#pragma once

#include <sys/select.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"
#include "tools/quillsim/wire.h"

namespace quillsim {

inline constexpr char kPttGroup[] = "239.192.255.4";
inline constexpr int kPttRequestPort = 4011;
inline constexpr int kPttStatusPort = 4012;
inline constexpr int kMaxChannel = 0x7FFF;  // the low 15 bits of a source's address
inline constexpr int kMaxLeaseMs = 3'600'000;
inline constexpr int kMaxCopies = 1000;

// EVENT QnCH#channel ptt=[DOWN|UP,src,lease_ms]
struct PttRequest {
  int channel = 0;
  bool down = false;
  int src = 0;
  int lease_ms = 0;

  bool operator==(const PttRequest&) const = default;
};
// Reads one request to the letter; none for any other text.
[[nodiscard]] std::optional<PttRequest> parse_ptt_request(std::string_view text);
// As the station writes it.
[[nodiscard]] std::string ptt_request_text(const PttRequest& request);

struct PttOptions {
  // Whose requests are taken; those of other channels are not even seen. Empty: all.
  std::set<int> channels = {};
  bool answering = true;
  int copies = 1;                       // of each answer
  std::chrono::milliseconds late{0};    // between request and answer
  std::optional<int> answer_channel{};  // that an answer names instead of the one that was asked for
};

class PttResponder {
 public:
  using Time = std::chrono::steady_clock::time_point;
  // Gets each line that a person should see: requests, who holds which channel, refusals.
  using Printer = std::function<void(const std::string& line)>;

  explicit PttResponder(PttOptions options = {}, Printer printer = {});

  // Joins the group on the interface of this dotted address; false with errno set.
  [[nodiscard]] bool open(const std::string& interface_address);
  [[nodiscard]] bool is_open() const { return fd_.is_open(); }

  // Adds the socket; takes what has arrived when select(2) found something.
  void fill(fd_set& read, int& highest) const { (void)hark::fdset_add(fd_.get(), read, highest); }
  void serve(const fd_set& read, Time now);
  // Sends the answers that are due, and ends the leases that are over.
  void run(Time now);
  // When run() has to be called although nothing came in; none when it need not.
  [[nodiscard]] std::optional<Time> due() const;

  // How requests are answered from here on.
  [[nodiscard]] PttOptions& options() { return options_; }
  // Which source talks into the channel; 0 when none does.
  [[nodiscard]] int holder(int channel) const;
  // Somebody else talks into the channel, until 0 is set.
  void hold(int channel, int src);
  // Tells the group who holds the channel. False when it cannot be sent.
  bool tell(int channel);
  // Sends a datagram to the group as it stands.
  bool send(std::string_view text);

  // The records are kept and emptied as those of Sim.
  [[nodiscard]] const std::vector<PttRequest>& requests() const { return requests_; }
  [[nodiscard]] const std::vector<Refusal>& refused() const { return refused_; }
  [[nodiscard]] bool ever_refused() const { return ever_refused_; }
  void forget_records();

 private:
  struct Hold {
    int src = 0;
    std::optional<Time> until;  // none: no lease
  };

  void take(std::string_view text, Time now);
  void carry_out(const PttRequest& request, Time now);
  void release(int channel, const char* why);
  void print(const std::string& line);

  PttOptions options_;
  Printer printer_;
  hark::UniqueFd fd_;
  std::map<int, Hold> holds_;
  std::multimap<Time, std::string> answers_;  // that are still to be sent
  std::vector<PttRequest> requests_;
  std::vector<Refusal> refused_;
  bool ever_refused_ = false;
};

}  // namespace quillsim
