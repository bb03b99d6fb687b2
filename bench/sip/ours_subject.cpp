// The benchmark's operations with harkd's own stack, as its transport and its user agent use it: a datagram
// is copied into a block of its own, scanned where it lies, read by the access by field, and deleted.
#include <array>
#include <cstring>

#include "cpsdp/cpsdp.h"
#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_format.h"
#include "cpsip/cpsip_msg_scan.h"
#include "cpsip/cpsip_osa.h"
#include "cpsip/cpsip_uri.h"
#include "subject.h"

namespace hark::bench {
namespace {

/// What a receive block is longer than its datagram.
constexpr std::size_t kReceiveSlack = 64;

Text text_of(std::string_view text) { return {text.data(), text.size()}; }

cpsip_osa_chain receive(std::string_view datagram) {
  cpsip_osa_chain block(cpsip_osa_buf_alloc(static_cast<std::uint16_t>(datagram.size() + kReceiveSlack)));
  std::memcpy(block->data(), datagram.data(), datagram.size());
  block->used = static_cast<std::uint16_t>(datagram.size());
  return block;
}

/// The value of a parameter of the first instance; none when the header has no such parameter.
Text parameter(cpsip_msg& message, std::uint32_t field, std::string_view name, cpsip_field_text& room) {
  unsigned index = 0;
  std::uint32_t length = 0;
  if (CPSIP_MsgGetParmValue(message, field, 1, name, index, room, length) != kAccessOk || index == 0)
    return {};
  return {room.data(), length};
}

void read_message(cpsip_msg& message, Reader& reader) {
  cpsip_field_text branch;
  cpsip_field_text from_tag;
  cpsip_field_text to_tag;
  cpsip_field_text call_id;
  SeenMessage seen;
  seen.branch = parameter(message, CPSIP_FLD_VIA_PARM, "branch=", branch);
  seen.from_tag = parameter(message, CPSIP_FLD_FROM_PARM, "tag=", from_tag);
  seen.to_tag = parameter(message, CPSIP_FLD_TO_PARM, "tag=", to_tag);
  seen.call_id = text_of(cpsip_msg_read(message, CPSIP_FLD_CALL_ID, 1, 0, call_id));
  seen.cseq = message.cseq;
  seen.method = text_of(cpsip_method_text(message.cseq_method));
  reader.message(seen);
}

void read_sdp(const cpsdp_parms& sdp, std::string_view pool, Reader& reader) {
  if (sdp.m_count == 0) return;
  const cpsdp_media& media = *sdp.media[0];
  SeenSdp seen;
  seen.port = media.m_port;
  for (std::size_t i = 0; i < media.fmt_count && seen.formats < SeenSdp::kFormats; ++i) {
    if (media.rtp_name[i].empty()) continue;
    seen.format[seen.formats++] = {media.fmt[i], text_of(media.rtp_name[i].in(pool))};
  }
  reader.sdp(seen);
}

/// The parser changes nothing in a description that it takes, so that it is given the input itself, as it is
/// given the receive block.
bool parse_description(std::string_view body, cpsdp_parms& sdp) {
  return CPSDP_ParseSession({const_cast<char*>(body.data()), body.size()}, sdp) == 0;
}

struct Value {
  std::uint32_t field;
  unsigned parameter;
  const char* text;
};
/// The INVITE of the inputs, in the order of its lines.
constexpr std::array kInvite{
    Value{CPSIP_FLD_REQUEST_URI, 0, "sip:console@10.0.0.7:5062;transport=udp"},
    Value{CPSIP_FLD_VIA_TRANSPORT, 0, "UDP"},
    Value{CPSIP_FLD_VIA_HOST, 0, "10.0.0.12"},
    Value{CPSIP_FLD_VIA_PORT, 0, "5060"},
    Value{CPSIP_FLD_VIA_PARM, 1, "rport"},
    Value{CPSIP_FLD_VIA_PARM, 2, "branch=z9hG4bKPj7c1e4f0293d5"},
    Value{CPSIP_FLD_FROM_DISPLAY, 0, "\"Studio 2 Codec\""},
    Value{CPSIP_FLD_FROM_URI, 0, "sip:codec@10.0.0.12:5060"},
    Value{CPSIP_FLD_FROM_PARM, 1, "tag=a6f1c8d04e"},
    Value{CPSIP_FLD_TO_URI, 0, "sip:console@10.0.0.7:5062"},
    Value{CPSIP_FLD_CALL_ID, 0, "5d0a3c11-7b42-4f6e-9c83-2be4@10.0.0.12"},
    Value{CPSIP_FLD_CONTACT_URI, 0, "sip:codec@10.0.0.12:5060"},
    Value{CPSIP_FLD_SUPPORTED_ITEM, 1, "replaces"},
    Value{CPSIP_FLD_SUPPORTED_ITEM, 2, "timer"},
    Value{CPSIP_FLD_UNKNOWN, 0, "Session-Expires: 1800"},
    Value{CPSIP_FLD_USER_AGENT, 0, "Studio-Codec/2.4.1 (build 20871)"},
    Value{CPSIP_FLD_SUBJECT, 0, "Talkback to studio 1, programme 2b"},
};

class OurSubject : public Subject {
 public:
  const char* name() const override { return "harkd"; }

  bool build(const Inputs& inputs) override {
    message_ = CPSIP_MsgCreate(true);
    message_->method = message_->cseq_method = cpsip_method::invite;
    message_->cseq = 20871;
    message_->max_forwards = 70;
    message_->include_allow = true;
    for (const Value& value : kInvite) {
      if (cpsip_msg_write(*message_, value.field, 1, value.parameter, value.text) != kAccessOk) return false;
    }
    message_->content_kind = cpsip_content_kind::sdp;
    message_->content_length = 1;
    message_->sdp = std::make_unique<cpsdp_parms>();
    message_->sdp_text.borrow(inputs.offer);
    return parse_description(inputs.offer, *message_->sdp);
  }

  bool parse_message(std::string_view datagram, Reader& reader) override {
    cpsip_scan scan;
    bool complete = false;
    std::uint32_t left_over = 0;
    if (cpsip_msg_scan(scan, receive(datagram), complete, left_over) != kScanOk || !complete) return false;
    cpsip_msg& message = *scan.scan_msg;
    read_message(message, reader);
    if (message.sdp != nullptr) read_sdp(*message.sdp, message.sdp_text.view(), reader);
    CPSIP_MsgDelete(std::move(scan.scan_msg));
    return true;
  }

  bool parse_sdp(std::string_view body, Reader& reader) override {
    const auto sdp = std::make_unique<cpsdp_parms>();
    if (!parse_description(body, *sdp)) return false;
    read_sdp(*sdp, body, reader);
    return true;
  }

  bool parse_uri(std::string_view text, Reader& reader) override {
    static constexpr std::array kTransports{"", "udp", "tcp", "sctp", "tls"};
    cpsip_uri uri;
    uri.text = text;
    if (CPSIP_MsgParseURI(uri) != kUriOk) return false;
    SeenUri seen;
    seen.user = text_of(uri.user);
    seen.host = text_of(uri.host);
    seen.port = uri.port;
    seen.transport = kTransports[static_cast<std::size_t>(uri.transport)];
    reader.uri(seen);
    return true;
  }

  bool format_message(Reader& reader) override {
    cpsip_osa_chain wire;
    if (cpsip_msg_format(*message_, {}, wire) != 0) return false;
    reader.wire(wire->text());
    return true;
  }

  bool encode_sdp(Reader& reader) override {
    std::array<char, kCpsdpMaxEncoded> text;
    std::uint32_t length = 0;
    if (CPSDP_EncodeSession(message_->sdp.get(), message_->sdp_text.view(), text, length) != 0) return false;
    reader.wire({text.data(), length});
    return true;
  }

 private:
  cpsip_msg_ptr message_;
};

}  // namespace

std::unique_ptr<Subject> ours_subject() { return std::make_unique<OurSubject>(); }

}  // namespace hark::bench
