// What a browser may say to the gateway, and what it is told when that cannot be read. One JSON object a
// message; docs/browser-panel.md is the reference of the protocol.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "panel/signature.h"

namespace hark::panel_gateway {

inline constexpr int kProtocolVersion = 1;
inline constexpr std::size_t kMaxMessage = 1024;  // bytes
inline constexpr std::size_t kMaxLabel = 10;  // characters of a label or a shift, as the station cuts them

// Why a browser's connection ends: codes of the WebSocket close frame (RFC 6455 7.4.2, private use).
enum class CloseCode : std::uint16_t {
  kGoingAway = 1001,   // the gateway ends
  kBadMessage = 4400,  // not JSON, or not a message of the protocol
  kBadToken = 4401,    // no token, or a wrong one
  kSilent = 4408,      // no hello, or nothing for too long
  kSlow = 4409,        // does not read what it is told
  kTooLarge = 4413,    // beyond kMaxMessage
  kTooMany = 4429,     // messages faster than the limit
  kFull = 4503,        // too many browsers
};

// The first message: the version of the protocol and, where one is wanted, the token.
struct Hello {
  int version = 0;
  std::string token;
};
// A key went down or up at `at_ms` of the browser's own clock. `cancelled`, for an up: the pointer was lost,
// so that this must never count as a tap.
struct KeyEvent {
  Signature key = 0;
  bool down = false;
  double at_ms = 0;
  bool cancelled = false;
};
// A fader is to stand at `to`, or is moved by `by`; tenths of a dB. Exactly one of them is there.
struct FaderMove {
  Signature fader = 0;
  std::optional<int> to;
  std::optional<int> by;
};
// The label for the auto-answer channel; may be empty.
struct ChooseCaller {
  std::string label;
};
struct SelectShift {
  std::string name;
};
// Comes back as it is; each page sends one a second, by which the gateway knows that it is alive.
struct Echo {
  double number = 0;
};
// Try to reach the station now.
struct Retry {};

using BrowserMessage = std::variant<Hello, KeyEvent, FaderMove, ChooseCaller, SelectShift, Echo, Retry>;

// Why a message cannot be read, for the browser's developer: a text of the program's own.
struct BadMessage {
  std::string why;
};

// Reads a message: JSON text in UTF-8. Unknown members are passed over. Allocates no more than the text's
// size asks for.
[[nodiscard]] std::variant<BrowserMessage, BadMessage> read_browser_message(std::string_view text);

// The signature of a key that a browser may press: listen, talk or both of a channel 01 to 98 or of the
// auto-answer channel, ASGN, TGRP, SPKM, MICM. Nothing for any other text.
[[nodiscard]] std::optional<Signature> read_key(std::string_view text);

}  // namespace hark::panel_gateway
