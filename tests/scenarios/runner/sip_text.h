// A SIP message as the far end sees it: a start line, headers and a body, cut by the simplest rules there are
// and by none of the stack's code, so that a fault of the one does not hide in the other.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hark::test {

struct SipText {
  std::string start;
  std::vector<std::pair<std::string, std::string>> headers;  // name and value, in order
  std::string body;

  // None for bytes that are no message, or whose Content-Length is not that of the body.
  [[nodiscard]] static std::optional<SipText> Parse(std::string_view datagram);
  // The same of anything, as far as it goes.
  [[nodiscard]] static SipText ParseAny(std::string_view datagram);
  // With a Content-Length behind the other headers, unless there is one.
  [[nodiscard]] std::string Wire() const;

  [[nodiscard]] bool is_response() const { return start.starts_with("SIP/2.0 "); }
  [[nodiscard]] unsigned status() const;
  // Of a response that of the request that it answers.
  [[nodiscard]] std::string method() const;
  [[nodiscard]] unsigned long cseq() const;

  // The first instance's value; empty when there is none.
  [[nodiscard]] std::string get(std::string_view name) const;
  [[nodiscard]] std::vector<std::string> all(std::string_view name) const;
  // Replaces the first instance, or adds one at the end.
  void set(std::string_view name, std::string value);
  void remove(std::string_view name);
};

// The value of a parameter of a header's value: what stands behind ";name=", up to the next ";". Empty for
// none.
[[nodiscard]] std::string ParameterOf(const std::string& value, std::string_view name);
// The value without a parameter, with or without a value.
[[nodiscard]] std::string WithoutParameter(std::string value, std::string_view name);

// A session description with one audio medium, of entries such as "97=L24/48000/2|0=PCMU/8000"; and the
// entries of one. `address` is where the media go.
[[nodiscard]] std::string DescriptionOf(const std::string& entries, const std::string& address, int port);
[[nodiscard]] std::string EntriesOf(const std::string& description);

}  // namespace hark::test
