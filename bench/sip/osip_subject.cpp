// The benchmark's operations with libosip2-dev: parser_init once, a message and a session description by
// their init, parse and free. The parser copies the datagram itself. What it keeps as text (numbers, payload
// types) its users convert.
#include <osipparser2/osip_parser.h>
#include <osipparser2/sdp_message.h>

#include <cstdlib>
#include <cstring>

#include "subject.h"

namespace hark::bench {
namespace {

unsigned number(const char* text) { return static_cast<unsigned>(std::strtoul(text, nullptr, 10)); }

/// An rtpmap is an attribute like any other: its value is "96 L24/48000/2".
void read_sdp(sdp_message_t* sdp, Reader& reader) {
  SeenSdp seen;
  const char* port = sdp_message_m_port_get(sdp, 0);
  if (port == nullptr) return;
  seen.port = number(port);
  osip_list_iterator_t at;
  const auto* media = static_cast<const sdp_media_t*>(osip_list_get(&sdp->m_medias, 0));
  for (void* one = osip_list_get_first(&media->a_attributes, &at);
       osip_list_iterator_has_elem(at) && seen.formats < SeenSdp::kFormats; one = osip_list_get_next(&at)) {
    const auto* attribute = static_cast<const sdp_attribute_t*>(one);
    if (std::strcmp(attribute->a_att_field, "rtpmap") != 0) continue;
    char* end = nullptr;
    const long payload = std::strtol(attribute->a_att_value, &end, 10);
    if (*end == ' ') seen.format[seen.formats++] = {static_cast<int>(payload), end + 1};
  }
  reader.sdp(seen);
}

bool parse_description(const char* text, Reader& reader) {
  sdp_message_t* sdp = nullptr;
  if (sdp_message_init(&sdp) != 0) return false;
  const bool parsed = sdp_message_parse(sdp, text) == 0;
  if (parsed) read_sdp(sdp, reader);
  sdp_message_free(sdp);
  return parsed;
}

bool read_message(osip_message_t* message, Reader& reader) {
  osip_via_t* via = nullptr;
  if (osip_message_get_via(message, 0, &via) < 0 || message->from == nullptr || message->to == nullptr ||
      message->cseq == nullptr || message->call_id == nullptr) {
    return false;
  }
  char branch_name[] = "branch";
  osip_generic_param_t* branch = nullptr;
  osip_generic_param_t* from_tag = nullptr;
  osip_generic_param_t* to_tag = nullptr;
  osip_via_param_get_byname(via, branch_name, &branch);
  char tag_name[] = "tag";
  osip_from_param_get_byname(message->from, tag_name, &from_tag);
  osip_to_param_get_byname(message->to, tag_name, &to_tag);
  SeenMessage seen;
  if (branch != nullptr) seen.branch = branch->gvalue;
  if (from_tag != nullptr) seen.from_tag = from_tag->gvalue;
  if (to_tag != nullptr) seen.to_tag = to_tag->gvalue;
  seen.call_id = message->call_id->number;
  if (message->call_id->host != nullptr) seen.call_id_host = message->call_id->host;
  seen.cseq = number(message->cseq->number);
  seen.method = message->cseq->method;
  reader.message(seen);
  return true;
}

/// The INVITE of the inputs, header by header: a parsed one would have a header for each method of its Allow.
bool build_invite(osip_message_t* message) {
  osip_uri_t* uri = nullptr;
  if (osip_uri_init(&uri) != 0 || osip_uri_parse(uri, "sip:console@10.0.0.7:5062;transport=udp") != 0)
    return false;
  osip_message_set_version(message, osip_strdup("SIP/2.0"));
  osip_message_set_method(message, osip_strdup("INVITE"));
  osip_message_set_uri(message, uri);
  return osip_message_set_via(message, "SIP/2.0/UDP 10.0.0.12:5060;rport;branch=z9hG4bKPj7c1e4f0293d5") ==
             0 &&
         osip_message_set_header(message, "Max-Forwards", "70") == 0 &&
         osip_message_set_from(message, "\"Studio 2 Codec\" <sip:codec@10.0.0.12:5060>;tag=a6f1c8d04e") ==
             0 &&
         osip_message_set_to(message, "<sip:console@10.0.0.7:5062>") == 0 &&
         osip_message_set_call_id(message, "5d0a3c11-7b42-4f6e-9c83-2be4@10.0.0.12") == 0 &&
         osip_message_set_cseq(message, "20871 INVITE") == 0 &&
         osip_message_set_contact(message, "<sip:codec@10.0.0.12:5060>") == 0 &&
         osip_message_set_allow(message, "INVITE, ACK, BYE, CANCEL, REFER, OPTIONS, NOTIFY") == 0 &&
         osip_message_set_header(message, "Supported", "replaces, timer") == 0 &&
         osip_message_set_header(message, "Session-Expires", "1800") == 0 &&
         osip_message_set_header(message, "User-Agent", "Studio-Codec/2.4.1 (build 20871)") == 0 &&
         osip_message_set_header(message, "Subject", "Talkback to studio 1, programme 2b") == 0 &&
         osip_message_set_content_type(message, "application/sdp") == 0;
}

class OsipSubject : public Subject {
 public:
  ~OsipSubject() override {
    if (sdp_ != nullptr) sdp_message_free(sdp_);
    if (message_ != nullptr) osip_message_free(message_);
  }

  const char* name() const override { return "libosip2-dev"; }

  bool build(const Inputs& inputs) override {
    if (parser_init() != 0 || osip_message_init(&message_) != 0 || sdp_message_init(&sdp_) != 0) return false;
    return build_invite(message_) && sdp_message_parse(sdp_, inputs.offer.c_str()) == 0;
  }

  bool parse_message(std::string_view datagram, Reader& reader) override {
    osip_message_t* message = nullptr;
    if (osip_message_init(&message) != 0) return false;
    bool read =
        osip_message_parse(message, datagram.data(), datagram.size()) == 0 && read_message(message, reader);
    osip_body_t* body = nullptr;
    if (read && osip_message_get_body(message, 0, &body) >= 0) read = parse_description(body->body, reader);
    osip_message_free(message);
    return read;
  }

  bool parse_sdp(std::string_view body, Reader& reader) override {
    return parse_description(body.data(), reader);
  }

  bool parse_uri(std::string_view text, Reader& reader) override {
    osip_uri_t* uri = nullptr;
    if (osip_uri_init(&uri) != 0) return false;
    const bool parsed = osip_uri_parse(uri, text.data()) == 0;
    if (parsed) {
      char transport_name[] = "transport";
      osip_uri_param_t* transport = nullptr;
      osip_uri_uparam_get_byname(uri, transport_name, &transport);
      SeenUri seen;
      seen.user = uri->username;
      seen.host = uri->host;
      seen.port = number(uri->port);
      if (transport != nullptr) seen.transport = transport->gvalue;
      reader.uri(seen);
    }
    osip_uri_free(uri);
    return parsed;
  }

  /// A message remembers its text; force_update makes it write everything again. The body is set as a user
  /// does who sends a new offer.
  bool format_message(Reader& reader) override {
    char* body = nullptr;
    if (sdp_message_to_str(sdp_, &body) != 0) return false;
    osip_list_special_free(&message_->bodies,
                           [](void* one) { osip_body_free(static_cast<osip_body_t*>(one)); });
    const bool set = osip_message_set_body(message_, body, std::strlen(body)) == 0;
    osip_free(body);
    char* text = nullptr;
    std::size_t length = 0;
    osip_message_force_update(message_);
    if (!set || osip_message_to_str(message_, &text, &length) != 0) return false;
    reader.wire({text, length});
    osip_free(text);
    return true;
  }

  bool encode_sdp(Reader& reader) override {
    char* text = nullptr;
    if (sdp_message_to_str(sdp_, &text) != 0) return false;
    reader.wire({text, std::strlen(text)});
    osip_free(text);
    return true;
  }

 private:
  osip_message_t* message_ = nullptr;
  sdp_message_t* sdp_ = nullptr;
};

}  // namespace

std::unique_ptr<Subject> osip_subject() { return std::make_unique<OsipSubject>(); }

}  // namespace hark::bench
