// One SIP library as the benchmark sees it: the operations that are measured, and what each of them hands to
// the one that reads its result. There is a source for each library (ours_subject.cpp and three more);
// main.cpp has the list of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace hark::bench {

/// A text as its library has it: with a length, or ended by a null. Nothing is measured before somebody
/// looks.
struct Text {
  static constexpr std::size_t kTerminated = static_cast<std::size_t>(-1);

  Text() = default;
  Text(const char* text) : at(text), length(kTerminated) {}
  Text(const char* text, std::size_t size) : at(text), length(size) {}

  const char* at = nullptr;  // null when the message has no such thing
  std::size_t length = 0;
};

/// A format of a media line that has a name by rtpmap.
struct SeenFormat {
  int payload;
  Text name;  // at its first character; it ends at the length, at a slash or at a null
};

/// What is read from a session description: the first media line.
struct SeenSdp {
  static constexpr std::size_t kFormats = 8;

  unsigned port = 0;
  std::size_t formats = 0;
  std::array<SeenFormat, kFormats> format;
};

/// What is read from a message. The texts are those of the message, valid until it is freed.
struct SeenMessage {
  Text branch;  // of the top Via
  Text from_tag;
  Text to_tag;  // none in a first INVITE
  Text call_id;
  Text call_id_host;  // what is behind its @, from a library that cuts it there
  std::uint32_t cseq = 0;
  Text method;  // of the CSeq
};

/// What is read from a URI.
struct SeenUri {
  Text user;
  Text host;
  unsigned port = 0;
  Text transport;  // the parameter's value
};

/// Whoever looks at what an operation has got, before it frees it.
class Reader {
 public:
  virtual ~Reader() = default;
  virtual void message(const SeenMessage& seen) = 0;
  virtual void sdp(const SeenSdp& seen) = 0;
  virtual void uri(const SeenUri& seen) = 0;
  /// A message or a session description as it would be sent.
  virtual void wire(std::string_view bytes) = 0;
};

/// The files of the folder inputs, the same ones for every library. They end in a null that their length does
/// not count.
struct Inputs {
  std::string invite;
  std::string ok;
  std::string bye;
  std::string large_invite;
  std::string offer;  // the session description of the INVITE
  std::string uri;
};

/// All operations are false when something failed. What one has allocated it has freed when it returns.
class Subject {
 public:
  virtual ~Subject() = default;
  /// harkd, or the name of the package.
  [[nodiscard]] virtual const char* name() const = 0;
  /// Builds what format_message and encode_sdp write, with the contents of the INVITE. Called once, before
  /// all others; *borrows* the inputs for good.
  [[nodiscard]] virtual bool build(const Inputs& inputs) = 0;
  /// From the bytes of a datagram to a message, its session description with it when it has a body, and away
  /// again.
  [[nodiscard]] virtual bool parse_message(std::string_view datagram, Reader& reader) = 0;
  [[nodiscard]] virtual bool parse_sdp(std::string_view body, Reader& reader) = 0;
  [[nodiscard]] virtual bool parse_uri(std::string_view uri, Reader& reader) = 0;
  /// The INVITE with its session description encoded anew, to the bytes that are sent.
  [[nodiscard]] virtual bool format_message(Reader& reader) = 0;
  [[nodiscard]] virtual bool encode_sdp(Reader& reader) = 0;
};

std::unique_ptr<Subject> ours_subject();
std::unique_ptr<Subject> osip_subject();
std::unique_ptr<Subject> sofia_subject();
std::unique_ptr<Subject> re_subject();

}  // namespace hark::bench
