// Reads one line from left to right for the parsers of this folder: literal text, plain decimal numbers,
// quoted text, and the shapes of addresses. It judges the line on its own and shares no code with the
// station's reader of the same grammar, so that a fault there cannot hide itself here.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillsim {

// Borrows the line; what it gives out is valid as long as that, but for quoted text, which is a copy.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  // Steps over `literal` when the text goes on with it, to the letter.
  [[nodiscard]] bool skip(std::string_view literal);
  // Reads a decimal number as printf's %d writes it: no plus, no leading zero, no "-0". Nothing is consumed
  // when there is none or when int cannot hold it.
  [[nodiscard]] std::optional<int> number();
  // Reads text in double quotes and takes the backslash off each escaped quote and backslash. Any other
  // escape, and a missing quote, make it no quoted text.
  [[nodiscard]] std::optional<std::string> quoted();
  // Reads capital letters and underscores, as far as they go; may be empty.
  [[nodiscard]] std::string_view word();
  [[nodiscard]] std::string_view rest() const { return rest_; }
  [[nodiscard]] bool at_end() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

// "a.b.c.d" with each part 0 to 255.
[[nodiscard]] bool is_ipv4(std::string_view text);
// "a.b.c.d:port" with a port of 1 to 65535.
[[nodiscard]] bool is_ipv4_port(std::string_view text);

// The text in quotes, with a backslash before each quote and backslash.
[[nodiscard]] std::string quote(std::string_view text);
// The text fit for a terminal: bytes that do not print as "\xNN", cut with "..." behind `limit` bytes.
[[nodiscard]] std::string printable(std::string_view text, std::size_t limit = 200);

}  // namespace quillsim
