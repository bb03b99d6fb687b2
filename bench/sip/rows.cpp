// The table of the rows, and the files that they read.
#include "rows.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

namespace hark::bench {
namespace {

bool parse_message(Subject& subject, std::string_view input, Reader& reader) {
  return subject.parse_message(input, reader);
}
bool parse_sdp(Subject& subject, std::string_view input, Reader& reader) {
  return subject.parse_sdp(input, reader);
}
bool parse_uri(Subject& subject, std::string_view input, Reader& reader) {
  return subject.parse_uri(input, reader);
}
bool format_message(Subject& subject, std::string_view, Reader& reader) {
  return subject.format_message(reader);
}
bool encode_sdp(Subject& subject, std::string_view, Reader& reader) { return subject.encode_sdp(reader); }

bool load(const std::string& path, std::string& bytes) {
  std::ifstream file(path, std::ios::binary);
  bytes.assign(std::istreambuf_iterator<char>(file), {});
  if (!bytes.empty()) return true;
  (void)std::fprintf(stderr, "nothing in %s\n", path.c_str());
  return false;
}

}  // namespace

const std::array<Row, kRows> kRowTable{{
    {"parse of an INVITE with SDP", &Inputs::invite, parse_message, 0.28},
    {"parse of a 200 with SDP", &Inputs::ok, parse_message, 0.28},
    {"parse of a BYE", &Inputs::bye, parse_message, 0.35},
    {"parse of a large INVITE", &Inputs::large_invite, parse_message, 0.30},
    {"format of an INVITE with SDP", nullptr, format_message, 0.20},
    {"parse of an SDP", &Inputs::offer, parse_sdp, 0.35},
    {"encode of an SDP", nullptr, encode_sdp, 0.30},
    {"parse of a URI", &Inputs::uri, parse_uri, 0.60},
}};

std::string_view input_of(const Row& row, const Inputs& inputs) {
  return row.input != nullptr ? std::string_view(inputs.*(row.input)) : std::string_view();
}

bool load_inputs(const char* folder, Inputs& inputs) {
  const std::string in = std::string(folder) + "/";
  return load(in + "invite.sip", inputs.invite) && load(in + "ok.sip", inputs.ok) &&
         load(in + "bye.sip", inputs.bye) && load(in + "large_invite.sip", inputs.large_invite) &&
         load(in + "offer.sdp", inputs.offer) && load(in + "uri.txt", inputs.uri);
}

std::size_t count_line_ends(std::string_view bytes) {
  std::size_t ends = 0;
  const char* const end = bytes.data() + bytes.size();
  for (const char* at = bytes.data(); at < end; ++at, ++ends) {
    at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
    if (at == nullptr) break;
  }
  return ends;
}

}  // namespace hark::bench
