// A WebSocket client (RFC 6455) that can be a bad one: frames are made byte by byte as a test wants them, the
// upgrade has the lines that it wants, and reading can stop. It knows no more of the protocol than a test
// needs; what comes is checked strictly.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"
#include "system/support/pump.h"

namespace hark::test {

// Kinds of frames (RFC 6455 5.2).
inline constexpr int kWsContinuation = 0;
inline constexpr int kWsText = 1;
inline constexpr int kWsBinary = 2;
inline constexpr int kWsClose = 8;
inline constexpr int kWsPing = 9;
inline constexpr int kWsPong = 10;

// A frame to send, good unless a member says otherwise.
struct WsFrame {
  int opcode = kWsText;
  std::string payload = {};
  bool fin = true;
  bool masked = true;
  int reserved = 0;                          // the three reserved bits
  std::optional<std::uint64_t> length = {};  // in place of the payload's own
  int length_bytes = -1;                     // of the length field: 1, 2 or 8; -1: the shortest
  [[nodiscard]] std::string bytes() const;
};

// The request by which a browser asks for the connection.
struct WsUpgrade {
  std::string path = "/panel";
  std::string host = {};               // empty: as connected
  std::string origin = {};             // empty: none
  std::string protocol = "harkpanel";  // empty: none
  std::string version = "13";
  std::vector<std::string> more = {};  // further header lines
};

class WsClient : public Pumped {
 public:
  WsClient() = default;

  // Connects from the address `source` to `address`; nothing is sent yet.
  [[nodiscard]] bool connect(int port, const std::string& source = "127.0.0.1",
                             const std::string& address = "127.0.0.1");
  // Asks for a small receive buffer in the next connect.
  void set_receive_buffer(int bytes) { receive_buffer_ = bytes; }
  // Sends the request and waits for the status of its answer; 0: none came.
  [[nodiscard]] int upgrade(const WsUpgrade& request = {});
  // Sends bytes as they are. False when they could not all be sent.
  bool send_raw(std::string_view bytes);
  bool send(const WsFrame& frame) { return send_raw(frame.bytes()); }
  bool send_text(std::string_view text) { return send({.payload = std::string(text)}); }

  // Waits for an answer by HTTP that is whole; its status, 0 when none came.
  [[nodiscard]] int wait_http(int timeout_ms = 3 * kWaitMs);
  // Head and body of the last answer by HTTP, and the value of a header of it.
  [[nodiscard]] const std::string& head() const { return head_; }
  [[nodiscard]] const std::string& body() const { return body_; }
  [[nodiscard]] std::string header(const std::string& name) const;

  // Texts that came, oldest first.
  [[nodiscard]] std::deque<std::string>& texts() { return texts_; }
  // The code of the close frame that came; 1006 when the connection ended without one, 0 while it lasts.
  [[nodiscard]] int close_code() const { return close_code_ != 0 || !ended_ ? close_code_ : 1006; }
  [[nodiscard]] const std::string& close_reason() const { return close_reason_; }
  // Waits for the end; the code.
  [[nodiscard]] int wait_closed(int timeout_ms = 3 * kWaitMs);
  // The connection itself has ended.
  [[nodiscard]] bool ended() const { return ended_; }
  [[nodiscard]] int pongs() const { return pongs_; }
  // What the far side did against the protocol; empty: nothing.
  [[nodiscard]] const std::string& fault() const { return fault_; }

  // Stops reading, and reads again.
  void set_reading(bool on) { reading_ = on; }
  // Ends the connection without a word, or with a reset.
  void close() { fd_.reset(); }
  void abort();
  [[nodiscard]] bool is_open() const { return fd_.is_open() && !ended_; }

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  void receive();
  bool take_http();
  bool take_frame();
  void take(int opcode, bool fin, std::string payload);
  void answer(int opcode, const std::string& payload);

  UniqueFd fd_;
  int receive_buffer_ = 0;
  bool reading_ = true;
  bool upgraded_ = false;
  bool ended_ = false;
  std::string bytes_;  // that came and are not taken yet
  std::string authority_;
  std::string head_, body_;
  int status_ = 0;
  std::deque<std::string> texts_;
  std::string partial_;  // of a text in pieces
  int close_code_ = 0;
  std::string close_reason_;
  int pongs_ = 0;
  std::string fault_;
};

}  // namespace hark::test
