// The sum and the lines.
#include "readers.h"

#include <string>

namespace hark::bench {
namespace {

std::string whole(const Text& text) {
  if (text.at == nullptr) return "none";
  return text.length == Text::kTerminated ? std::string(text.at) : std::string(text.at, text.length);
}

}  // namespace

void SumReader::text(const Text& text) {
  if (text.at != nullptr) sum_ += static_cast<unsigned char>(*text.at);
}

void SumReader::message(const SeenMessage& seen) {
  text(seen.branch);
  text(seen.from_tag);
  text(seen.to_tag);
  text(seen.call_id);
  text(seen.call_id_host);
  text(seen.method);
  sum_ += seen.cseq;
}

void SumReader::sdp(const SeenSdp& seen) {
  sum_ += seen.port;
  for (std::size_t i = 0; i < seen.formats; ++i) {
    sum_ += static_cast<std::uint64_t>(seen.format[i].payload);
    text(seen.format[i].name);
  }
}

void SumReader::uri(const SeenUri& seen) {
  text(seen.user);
  text(seen.host);
  text(seen.transport);
  sum_ += seen.port;
}

void SumReader::wire(std::string_view bytes) {
  sum_ += bytes.size() + static_cast<unsigned char>(bytes.back());
}

void LineReader::message(const SeenMessage& seen) {
  lines_.push_back("branch " + whole(seen.branch));
  lines_.push_back("from-tag " + whole(seen.from_tag));
  lines_.push_back("to-tag " + whole(seen.to_tag));
  const std::string host = seen.call_id_host.at != nullptr ? "@" + whole(seen.call_id_host) : std::string();
  lines_.push_back("call-id " + whole(seen.call_id) + host);
  lines_.push_back("cseq " + std::to_string(seen.cseq) + " " + whole(seen.method));
}

void LineReader::sdp(const SeenSdp& seen) {
  lines_.push_back("port " + std::to_string(seen.port));
  for (std::size_t i = 0; i < seen.formats; ++i) {
    const std::string name = whole(seen.format[i].name);
    lines_.push_back("format " + std::to_string(seen.format[i].payload) + " " +
                     name.substr(0, name.find('/')));
  }
}

void LineReader::uri(const SeenUri& seen) {
  lines_.push_back("user " + whole(seen.user));
  lines_.push_back("host " + whole(seen.host));
  lines_.push_back("port " + std::to_string(seen.port));
  lines_.push_back("transport " + whole(seen.transport));
}

}  // namespace hark::bench
