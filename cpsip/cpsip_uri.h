// SIP URIs in the stack's own style: a text is cut into its parts, leniently about the scheme, which may be
// missing. Used to check a Request-URI, to find a next hop and to read back a Contact. Also the way back to
// text, and the escaping of reserved characters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace hark {

inline constexpr std::size_t kMaxUri = 299;  // characters

enum cpsip_uri_result : int {
  kUriOk = 0,
  kUriBad = 23,
  kUriTooLong = 47,
};

// Transports, in a URI and elsewhere.
enum class cpsip_transport_kind : std::uint32_t { none = 0, udp = 1, tcp = 2, sctp = 3, tls = 4 };

// The caller fills `text`; the parts point into it. A part that is absent is empty.
struct cpsip_uri {
  std::string_view text;
  std::string_view scheme;
  std::string_view user;
  std::string_view password;
  std::string_view host;                                        // an IPv6 address with its brackets
  std::uint16_t port = 0;                                       // host order; 0: none
  cpsip_transport_kind transport = cpsip_transport_kind::none;  // "sips" gives tls
  std::string_view params;                                      // all of them, behind the first ";"
  std::string_view headers;                                     // behind the "?"
};

// Cuts `uri.text` (null: kUriBad) into its parts. A "<" before it is skipped, and a ">" or NUL ends it. A
// cpsip_uri_result; a failure is reported, and leaves the parts that were found so far.
[[nodiscard]] int CPSIP_MsgParseURI(cpsip_uri& uri);

// Writes scheme, user, password, host, port and parameters as text into `dest`, cut to fit; headers are not
// written. `uri.text` becomes that text. Returns 0. *Requires* that no part lies in `dest`.
int CPSIP_UriToStr(cpsip_uri& uri, std::span<char> dest);

// Bits of the mask below. The lower ones are those that end a token of the scanner.
enum cpsip_escape : std::uint32_t {
  kEscapeColon = 0x00001,
  kEscapeComma = 0x00002,
  kEscapeEquals = 0x00004,
  kEscapeLess = 0x00008,
  kEscapeGreater = 0x00010,
  kEscapeSemicolon = 0x00040,
  kEscapeSpace = 0x00080,
  kEscapeSlash = 0x00100,
  kEscapeQuestion = 0x01000,
  kEscapeAt = 0x02000,
  kEscapeAmpersand = 0x04000,
  kEscapePlus = 0x08000,
  kEscapeDollar = 0x10000,
};

// Room for the longest text that CPSIP_EscapeReservedChar writes, with its NUL.
inline constexpr std::size_t kEscapedSize = kMaxUri + 1;

// Copies `source` with each character whose bit is in `mask` as "%" and two digits, at most kMaxUri bytes (an
// escape is not split), and a NUL. `length` is the number of bytes plus two. Returns 0.
int CPSIP_EscapeReservedChar(std::string_view source, std::span<char, kEscapedSize> dest,
                             std::uint32_t& length, std::uint32_t mask);

}  // namespace hark
