// A far end that does what the test says: two UDP sockets at the ports of a station, every datagram kept, and
// requests and responses made by hand, sound ones or others. It has no timers and no memory of calls; what a
// real far end would send again it sends when told to.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"
#include "system/support/pump.h"

namespace hark::test {

inline constexpr int kListenPort = 5061;  // the listen service: who talks calls there
inline constexpr int kTalkPort = 5062;    // the talk service: who listens calls there

// A datagram, the port of the far end that it came to, and whence.
struct SipDatagram {
  int port = 0;
  std::string text;
  std::string from;
  int from_port = 0;

  // The method of a request, the status of a response as text.
  [[nodiscard]] std::string kind() const;
  // The value of the first header of that name; empty without one.
  [[nodiscard]] std::string header(std::string_view name) const;
};

class SipFarEnd : public Pumped {
 public:
  explicit SipFarEnd(std::string address);

  [[nodiscard]] const std::string& address() const { return address_; }
  [[nodiscard]] std::string url() const { return "hark:" + address_; }
  [[nodiscard]] std::string media() const { return "239.192.9.9:5004"; }

  // Called for each datagram as it comes, after it was kept.
  std::function<void(const SipDatagram&)> script;

  [[nodiscard]] const std::vector<SipDatagram>& datagrams() const { return datagrams_; }
  [[nodiscard]] int count(const std::string& kind) const;
  // Waits for a datagram of that kind, and for the `nth` one of them; empty kind when none came.
  [[nodiscard]] SipDatagram wait_for(const std::string& kind, int nth = 1) const;
  void forget() { datagrams_.clear(); }

  // From its port to that one of the station; the twin of the service that it plays there.
  void send(int from_port, const std::string& station, int to_port, std::string_view text) const;
  // A response to a request, with a tag of its own; `body` is a session description or nothing.
  void reply(const SipDatagram& request, int status, bool with_body = false) const;
  [[nodiscard]] std::string response_to(const SipDatagram& request, int status, bool with_body) const;

  // A call of its own: what it needs to go on with it.
  struct Call {
    std::string station;
    int port = 0;  // of the station's service
    std::string id;
    std::string to;            // the To header as the station's answer had it
    std::string contact = {};  // empty: its own address
    int cseq = 1;
  };
  // Sends the INVITE of a new call to the service at `port`.
  Call invite(const std::string& station, int port, const std::string& id);
  // The text of a request of a call. A branch that is empty is made from method and CSeq.
  [[nodiscard]] std::string request(const Call& call, const std::string& method, bool with_body = false,
                                    const std::string& branch = {}) const;
  void send(const Call& call, std::string_view text) const {
    send(own_port(call.port), call.station, call.port, text);
  }
  // What came for the call with this status; takes over its To header.
  [[nodiscard]] testing::AssertionResult answered(Call& call, int status) const;

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  [[nodiscard]] static int own_port(int service) { return service == kListenPort ? kTalkPort : kListenPort; }
  [[nodiscard]] int socket_at(int port) const { return (port == kListenPort ? listen_ : talk_).get(); }
  [[nodiscard]] std::string contact(int port) const;
  [[nodiscard]] std::string with_length(std::string head, bool with_body) const;
  void receive(int port);

  std::string address_;
  UniqueFd listen_;
  UniqueFd talk_;
  std::vector<SipDatagram> datagrams_;
};

}  // namespace hark::test
