// The benchmark's operations with libre-dev: a message over a buffer with the datagram, as its UDP sockets
// hand it up, and a session for each description. It has no message to write from: its users print the header
// lines into a buffer and put the encoded session behind, and so does this. What the headers ask of those
// that use them: the C types are there already.
#define HAVE_INTTYPES_H
#define HAVE_STDBOOL_H
#include <netinet/in.h>
#include <sys/types.h>

extern "C" {
#include <re.h>
}

#include "subject.h"

namespace hark::bench {
namespace {

Text text_of(const pl& part) { return {part.p, part.l}; }

void read_sdp(sdp_session* session, Reader& reader) {
  const list* medias = sdp_session_medial(session, false);
  const auto* media = static_cast<const sdp_media*>(list_ledata(list_head(medias)));
  if (media == nullptr) return;
  SeenSdp seen;
  seen.port = sdp_media_rport(media);
  for (le* at = list_head(sdp_media_format_lst(media, false));
       at != nullptr && seen.formats < SeenSdp::kFormats; at = at->next) {
    const auto* format = static_cast<const sdp_format*>(at->data);
    if (format->name != nullptr) seen.format[seen.formats++] = {format->pt, format->name};
  }
  reader.sdp(seen);
}

bool parse_description(mbuf* body, const sa& local, Reader& reader) {
  sdp_session* session = nullptr;
  if (sdp_session_alloc(&session, &local) != 0) return false;
  const bool parsed = sdp_decode(session, body, true) == 0;
  if (parsed) read_sdp(session, reader);
  mem_deref(session);
  return parsed;
}

void read_message(const sip_msg& message, Reader& reader) {
  SeenMessage seen;
  seen.branch = text_of(message.via.branch);
  seen.from_tag = text_of(message.from.tag);
  if (pl_isset(&message.to.tag)) seen.to_tag = text_of(message.to.tag);
  seen.call_id = text_of(message.callid);
  seen.cseq = message.cseq.num;
  seen.method = text_of(message.cseq.met);
  reader.message(seen);
}

mbuf* buffer_with(std::string_view bytes) {
  mbuf* buffer = mbuf_alloc(bytes.size());
  if (buffer == nullptr) return nullptr;
  (void)mbuf_write_mem(buffer, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  mbuf_set_pos(buffer, 0);
  return buffer;
}

struct FormatRow {
  const char* payload;
  const char* name;
  std::uint32_t rate;
  std::uint8_t channels;
  const char* parameters;
};
constexpr FormatRow kFormats[] = {
    {"96", "L24", 48000, 2, nullptr},
    {"9", "G722", 8000, 1, nullptr},
    {"8", "PCMA", 8000, 1, nullptr},
    {"0", "PCMU", 8000, 1, nullptr},
    {"101", "telephone-event", 8000, 1, "0-15"},
};

class ReSubject : public Subject {
 public:
  ~ReSubject() override {
    mem_deref(session_);
    libre_close();
  }

  const char* name() const override { return "libre-dev"; }

  bool build(const Inputs&) override {
    if (libre_init() != 0 || sa_set_str(&local_, "10.0.0.12", 5060) != 0) return false;
    sip_contact_set(&contact_, "codec", &local_, SIP_TRANSP_UDP);
    sdp_media* audio = nullptr;
    if (sdp_session_alloc(&session_, &local_) != 0 ||
        sdp_media_add(&audio, session_, sdp_media_audio, 16404, sdp_proto_rtpavp) != 0) {
      return false;
    }
    for (const FormatRow& row : kFormats) {
      const int err =
          row.parameters != nullptr
              ? sdp_format_add(nullptr, audio, false, row.payload, row.name, row.rate, row.channels, nullptr,
                               nullptr, nullptr, false, "%s", row.parameters)
              : sdp_format_add(nullptr, audio, false, row.payload, row.name, row.rate, row.channels, nullptr,
                               nullptr, nullptr, false, nullptr);
      if (err != 0) return false;
    }
    sdp_media_set_ldir(audio, SDP_SENDRECV);
    return sdp_media_set_lattr(audio, true, sdp_attr_ptime, "%u", 20U) == 0;
  }

  bool parse_message(std::string_view datagram, Reader& reader) override {
    mbuf* buffer = buffer_with(datagram);
    sip_msg* message = nullptr;
    bool read = buffer != nullptr && sip_msg_decode(&message, buffer) == 0;
    if (read) {
      read_message(*message, reader);
      if (mbuf_get_left(message->mb) > 0) read = parse_description(message->mb, local_, reader);
    }
    mem_deref(message);
    mem_deref(buffer);
    return read;
  }

  /// The text stays where it is: the decoder only needs a buffer's record around it.
  bool parse_sdp(std::string_view body, Reader& reader) override {
    mbuf buffer;
    mbuf_init(&buffer);
    buffer.buf = reinterpret_cast<std::uint8_t*>(const_cast<char*>(body.data()));
    buffer.size = buffer.end = body.size();
    return parse_description(&buffer, local_, reader);
  }

  bool parse_uri(std::string_view text, Reader& reader) override {
    const pl whole{text.data(), text.size()};
    struct uri parts;
    if (uri_decode(&parts, &whole) != 0) return false;
    SeenUri seen;
    seen.user = text_of(parts.user);
    seen.host = text_of(parts.host);
    seen.port = parts.port;
    pl transport = pl_null;
    if (msg_param_decode(&parts.params, "transport", &transport) == 0) seen.transport = text_of(transport);
    reader.uri(seen);
    return true;
  }

  /// In the order and with the directives of its own requests within a dialog.
  bool format_message(Reader& reader) override {
    mbuf* body = nullptr;
    if (sdp_encode(&body, session_, true) != 0) return false;
    mbuf* text = mbuf_alloc(1024);
    int err = mbuf_printf(text, "%s %s SIP/2.0\r\n", "INVITE", "sip:console@10.0.0.7:5062;transport=udp");
    err |= mbuf_printf(text, "Via: SIP/2.0/%s %J;branch=%s;rport\r\n", sip_transp_name(SIP_TRANSP_UDP),
                       &local_, "z9hG4bKPj7c1e4f0293d5");
    err |= mbuf_printf(text, "%H", sip_contact_print, &contact_);
    err |= mbuf_printf(text, "Max-Forwards: 70\r\n");
    err |= mbuf_printf(text, "To: <%s>\r\n", "sip:console@10.0.0.7:5062");
    err |= mbuf_printf(text, "From: \"%s\" <%s>;tag=%s\r\n", "Studio 2 Codec", "sip:codec@10.0.0.12:5060",
                       "a6f1c8d04e");
    err |= mbuf_printf(text, "Call-ID: %s\r\n", "5d0a3c11-7b42-4f6e-9c83-2be4@10.0.0.12");
    err |= mbuf_printf(text, "CSeq: %u %s\r\n", 20871U, "INVITE");
    err |= mbuf_printf(text,
                       "Allow: INVITE, ACK, BYE, CANCEL, REFER, OPTIONS, NOTIFY\r\n"
                       "Supported: replaces, timer\r\n"
                       "Session-Expires: %u\r\n"
                       "User-Agent: %s\r\n"
                       "Subject: %s\r\n"
                       "Content-Type: application/sdp\r\n"
                       "Content-Length: %zu\r\n"
                       "\r\n"
                       "%b",
                       1800U, "Studio-Codec/2.4.1 (build 20871)", "Talkback to studio 1, programme 2b",
                       mbuf_get_left(body), mbuf_buf(body), mbuf_get_left(body));
    if (err == 0) reader.wire({reinterpret_cast<const char*>(text->buf), text->end});
    mem_deref(text);
    mem_deref(body);
    return err == 0;
  }

  bool encode_sdp(Reader& reader) override {
    mbuf* text = nullptr;
    if (sdp_encode(&text, session_, true) != 0) return false;
    reader.wire({reinterpret_cast<const char*>(mbuf_buf(text)), mbuf_get_left(text)});
    mem_deref(text);
    return true;
  }

 private:
  sa local_{};
  sip_contact contact_{};
  sdp_session* session_ = nullptr;
};

}  // namespace

std::unique_ptr<Subject> re_subject() { return std::make_unique<ReSubject>(); }

}  // namespace hark::bench
