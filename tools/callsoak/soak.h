// An agent that makes calls of many kinds with a station, several at once: some are answered, some taken
// back, refused, ended by either side, called by the station; datagrams of both directions are lost, requests
// come twice, and what is no SIP, or no good one, comes in between. Each call has to come to its end all the
// same.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"
#include "tools/callsoak/messages.h"
#include "tools/callsoak/station.h"

namespace callsoak {

using Clock = std::chrono::steady_clock;

enum class Kind { we_hang_up, station_hangs_up, we_give_up, station_refuses, no_common_codec, station_calls };

struct SoakOptions {
  int at_once = 64;
  double loss = 0.02;  // of the datagrams of each direction
  double junk = 0.1;   // datagrams that are no good, by call
  unsigned seed = 1;
};

class Soak {
 public:
  Soak(Station& station, std::string station_address, int sip_port, SoakOptions options);

  // Makes so many calls, and returns when all of them have ended. False when the station has gone.
  [[nodiscard]] bool run(int calls);
  // Serves late messages for so long.
  void rest(std::chrono::milliseconds time);
  // The calls that the station has up; -1 when it does not say.
  [[nodiscard]] int lines_up();

  [[nodiscard]] bool is_open() const { return socket_.is_open(); }
  // Calls that did not come to their end, and what the last of them was.
  [[nodiscard]] int failed() const { return failed_; }
  [[nodiscard]] const std::string& last_failure() const { return last_failure_; }

 private:
  // A place for a call. Its party has a name of its own, as a station takes a second call of one party for
  // the first one come again.
  struct Call {
    bool busy = false;
    Kind kind = Kind::we_hang_up;
    bool to_talk = false;
    int port = 0;  // of the service that is called
    Party party;
    std::string url;  // as the station's clients know it
    std::string to_tag;
    std::string resent;  // the request that waits for its answer; empty: none
    Clock::time_point resend_at;
    std::chrono::milliseconds interval{};
    Clock::time_point began;
    bool answered = false;
    bool hanging_up = false;
    bool cancelled = false;
  };

  void begin(std::size_t slot);
  void end(Call& call);
  void send(const std::string& text, int port);
  void send_request(Call& call, const std::string& text);
  void send_junk();
  void turn(int timeout_ms);
  void receive();
  void take(const std::string& text, int port);
  void take_response(Call& call, const std::string& text);
  void take_invite_response(Call& call, const std::string& text, int status);
  void take_request(Call* call, const std::string& text, int port);
  void take_line(const std::string& line);
  void rings(Call& call);
  void hang_up(Call& call);
  void station_drops(const Call& call);
  void resend_due();
  [[nodiscard]] bool chance(double part) { return std::uniform_real_distribution<>(0, 1)(random_) < part; }
  [[nodiscard]] std::string ask(const Call& call, std::string_view method, int cseq,
                                std::string_view body = {});
  [[nodiscard]] bool any_busy() const;

  Station& station_;
  std::string station_address_;
  std::string address_;
  int listen_port_;
  int port_ = 0;
  SoakOptions options_;
  hark::UniqueFd socket_;
  std::mt19937 random_;
  std::vector<Call> calls_;
  std::map<std::string, std::size_t, std::less<>> by_call_id_;
  std::map<std::string, std::size_t, std::less<>> by_url_;
  std::uint64_t made_ = 0;
  Clock::time_point call_again_at_ = Clock::time_point::max();
  int failed_ = 0;
  std::string last_failure_;
};

}  // namespace callsoak
