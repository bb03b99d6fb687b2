// The benchmark's operations with libsofia-sip-ua-dev: a message of the built-in parser class with the
// datagram in its own buffer, as the transport of that library receives it, and a session description in the
// memory home of the message.
#include <sofia-sip/msg_addr.h>
#include <sofia-sip/msg_buffer.h>
#include <sofia-sip/sdp.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/sip_protos.h>
#include <sofia-sip/sip_status.h>
#include <sofia-sip/su.h>

#include <cstdlib>
#include <cstring>

#include "subject.h"

namespace hark::bench {
namespace {

/// Room for what is written: more than any of the messages needs.
constexpr std::size_t kWireBytes = 2048;
/// The best of 0, 2, 4 and 8 KiB.
constexpr isize_t kPreloadBytes = 8192;

void read_sdp(const sdp_session_t* session, Reader& reader) {
  SeenSdp seen;
  const sdp_media_t* media = session->sdp_media;
  if (media == nullptr) return;
  seen.port = static_cast<unsigned>(media->m_port);
  for (const sdp_rtpmap_t* map = media->m_rtpmaps; map != nullptr && seen.formats < SeenSdp::kFormats;
       map = map->rm_next) {
    seen.format[seen.formats++] = {static_cast<int>(map->rm_pt), map->rm_encoding};
  }
  reader.sdp(seen);
}

bool parse_description(su_home_t* home, const char* text, std::size_t length, Reader& reader) {
  sdp_parser_t* parser = sdp_parse(home, text, static_cast<issize_t>(length), 0);
  const sdp_session_t* session = sdp_session(parser);
  if (session != nullptr) read_sdp(session, reader);
  sdp_parser_free(parser);
  return session != nullptr;
}

/// A message with its memory taken in one piece: its users who want speed say NTATAG_PRELOAD, which does this
/// for them.
msg_t* receive(std::string_view datagram) {
  msg_t* message = msg_create(sip_default_mclass(), 0);
  if (message == nullptr) return nullptr;
  su_home_preload(msg_home(message), 1, kPreloadBytes);
  if (void* buffer = msg_buf_exact(message, datagram.size() + 1); buffer != nullptr) {
    std::memcpy(buffer, datagram.data(), datagram.size());
    (void)msg_buf_commit(message, datagram.size(), 1);
    if (msg_extract(message) > 0) return message;
  }
  msg_destroy(message);
  return nullptr;
}

bool read_message(const sip_t* sip, Reader& reader) {
  if (sip->sip_via == nullptr || sip->sip_from == nullptr || sip->sip_to == nullptr ||
      sip->sip_call_id == nullptr || sip->sip_cseq == nullptr) {
    return false;
  }
  SeenMessage seen;
  seen.branch = sip->sip_via->v_branch;
  seen.from_tag = sip->sip_from->a_tag;
  if (sip->sip_to->a_tag != nullptr) seen.to_tag = sip->sip_to->a_tag;
  seen.call_id = sip->sip_call_id->i_id;
  seen.cseq = sip->sip_cseq->cs_seq;
  seen.method = sip->sip_cseq->cs_method_name;
  reader.message(seen);
  return true;
}

class SofiaSubject : public Subject {
 public:
  ~SofiaSubject() override {
    if (parser_ != nullptr) sdp_parser_free(parser_);
    if (message_ != nullptr) msg_destroy(message_);
    su_deinit();
  }

  const char* name() const override { return "libsofia-sip-ua-dev"; }

  bool build(const Inputs& inputs) override {
    if (su_init() != 0) return false;
    message_ = receive(inputs.invite);
    parser_ = sdp_parse(nullptr, inputs.offer.data(), static_cast<issize_t>(inputs.offer.size()), 0);
    sdp_ = sdp_session(parser_);
    return message_ != nullptr && sip_object(message_) != nullptr && sdp_ != nullptr;
  }

  bool parse_message(std::string_view datagram, Reader& reader) override {
    msg_t* message = receive(datagram);
    const sip_t* sip = message != nullptr ? sip_object(message) : nullptr;
    bool read = sip != nullptr && sip->sip_error == nullptr && read_message(sip, reader);
    if (read && sip->sip_payload != nullptr) {
      read =
          parse_description(msg_home(message), sip->sip_payload->pl_data, sip->sip_payload->pl_len, reader);
    }
    msg_destroy(message);
    return read;
  }

  bool parse_sdp(std::string_view body, Reader& reader) override {
    return parse_description(nullptr, body.data(), body.size(), reader);
  }

  /// It cuts a URI in place, so that its users hand it a copy.
  bool parse_uri(std::string_view text, Reader& reader) override {
    char copy[256];
    if (text.size() >= sizeof copy) return false;
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    url_t url;
    if (url_d(&url, copy) != 0) return false;
    char transport[16];
    SeenUri seen;
    seen.user = url.url_user;
    seen.host = url.url_host;
    seen.port = static_cast<unsigned>(std::strtoul(url.url_port, nullptr, 10));
    if (url_param(url.url_params, "transport", transport, sizeof transport) > 0) seen.transport = transport;
    reader.uri(seen);
    return true;
  }

  /// msg_object_e writes each header from its record, whatever text may be remembered with it.
  bool format_message(Reader& reader) override {
    char body[kWireBytes];
    sdp_printer_t* printer = sdp_print(nullptr, sdp_, body, sizeof body, 0);
    if (sdp_message(printer) == nullptr) return false;
    sip_t* sip = sip_object(message_);
    sip->sip_payload->pl_data = body;
    sip->sip_payload->pl_len = sdp_message_size(printer);
    sip->sip_content_length->l_length = static_cast<unsigned long>(sip->sip_payload->pl_len);
    char text[kWireBytes];
    const issize_t length = msg_object_e(text, sizeof text, msg_object(message_), 0);
    if (length > 0) reader.wire({text, static_cast<std::size_t>(length)});
    sdp_printer_free(printer);
    return length > 0;
  }

  bool encode_sdp(Reader& reader) override {
    char text[kWireBytes];
    sdp_printer_t* printer = sdp_print(nullptr, sdp_, text, sizeof text, 0);
    const bool printed = sdp_message(printer) != nullptr;
    if (printed) reader.wire({text, static_cast<std::size_t>(sdp_message_size(printer))});
    sdp_printer_free(printer);
    return printed;
  }

 private:
  msg_t* message_ = nullptr;
  sdp_parser_t* parser_ = nullptr;
  sdp_session_t* sdp_ = nullptr;
};

}  // namespace

std::unique_ptr<Subject> sofia_subject() { return std::make_unique<SofiaSubject>(); }

}  // namespace hark::bench
