// The fixture of the tests of whole calls.
#include "cpsip/call_fixture.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_timer.h"
#include "cpsip/cpsip_ua.h"

namespace hark::test {
namespace {

constexpr int kPatienceMs = 20000;
constexpr TimeUs kBegin = TimeUs{1'700'000'000} * kUsPerSecond;
constexpr std::string_view kEndOfAll = "that was all";
constexpr std::uint32_t kLine = 7;  // the handle of the application

TimeUs g_now = kBegin;

sockaddr_in AddressOf(const std::string& host, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  EXPECT_EQ(inet_pton(AF_INET, host.c_str(), &address.sin_addr), 1) << host;
  return address;
}

const sockaddr* Generic(const sockaddr_in& address) { return reinterpret_cast<const sockaddr*>(&address); }

cpsdp_text Append(std::string& pool, std::string_view text) {
  cpsdp_text placed;
  placed.offset = static_cast<std::uint16_t>(pool.size());
  placed.length = static_cast<std::uint8_t>(text.size());
  pool += text;
  return placed;
}

// One audio medium of one format.
void Describe(cpsdp_parms& session, std::string& pool, const std::string& host) {
  session.o_username = session.s_name = Append(pool, "-");
  session.o_address = session.c_address = Append(pool, host);
  session.o_session_id = session.o_session_version = 100;
  session.m_count = 1;
  session.media[0] = std::make_unique<cpsdp_media>();
  cpsdp_media& medium = *session.media[0];
  medium.c_address = session.c_address;
  medium.fmt_count = 1;
  medium.fmt[0] = medium.fmt_local[0] = 96;
  medium.rtp_name[0] = Append(pool, "L24");
  medium.rtp_rate[0] = 48000;
  medium.rtp_param[0] = Append(pool, "2");
}

}  // namespace

std::string OwnHost() {
  const auto pid = static_cast<unsigned>(getpid());  // of 22 bits
  return "127." + std::to_string(1 + (pid >> 15U & 0x7FU)) + "." + std::to_string(pid >> 7U & 0xFFU) + "." +
         std::to_string(1 + (pid & 0x7FU));
}

FarEnd::FarEnd(const std::string& host) : host_(host) {
  fd_.reset(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = AddressOf(host, 0);
  EXPECT_EQ(::bind(fd_.get(), Generic(address), sizeof address), 0);
  socklen_t size = sizeof address;
  EXPECT_EQ(::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  port_ = ntohs(address.sin_port);
}

void FarEnd::Send(std::string_view text, std::uint16_t port) const {
  const sockaddr_in to = AddressOf(OwnHost(), port);
  EXPECT_EQ(::sendto(fd_.get(), text.data(), text.size(), 0, Generic(to), sizeof to),
            static_cast<ssize_t>(text.size()));
}

// What this socket sends to itself last comes last.
std::vector<std::string> FarEnd::Received() const {
  const sockaddr_in self = AddressOf(host_, port_);
  EXPECT_GT(::sendto(fd_.get(), kEndOfAll.data(), kEndOfAll.size(), 0, Generic(self), sizeof self), 0);
  std::vector<std::string> received;
  std::array<char, 2048> buffer;
  while (true) {
    pollfd ready{fd_.get(), POLLIN, 0};
    if (::poll(&ready, 1, kPatienceMs) != 1) {
      ADD_FAILURE() << "a datagram was lost";
      return received;
    }
    const ssize_t length = ::recv(fd_.get(), buffer.data(), buffer.size(), 0);
    const std::string_view text(buffer.data(), static_cast<std::size_t>(length < 0 ? 0 : length));
    if (text == kEndOfAll) return received;
    received.emplace_back(text);
  }
}

std::string SummaryOf(const std::string& message) {
  if (!message.starts_with("SIP/2.0 ")) return message.substr(0, message.find(' '));
  const std::string cseq = HeaderOf(message, "CSeq");
  return message.substr(8, 3) + cseq.substr(std::min(cseq.find(' '), cseq.size()));
}

std::vector<std::string> SummaryOf(const std::vector<std::string>& messages) {
  std::vector<std::string> summaries;
  for (const std::string& message : messages)
    summaries.push_back(SummaryOf(message));
  return summaries;
}

std::string HeaderOf(const std::string& message, const std::string& name) {
  const std::string begin = "\r\n" + name + ": ";
  const std::size_t at = message.find(begin);
  if (at == std::string::npos) return {};
  const std::size_t value = at + begin.size();
  return message.substr(value, message.find("\r\n", value) - value);
}

std::string BodyOf(const std::string& message) {
  const std::size_t end = message.find("\r\n\r\n");
  return end == std::string::npos ? std::string() : message.substr(end + 4);
}

std::string Replaced(std::string message, std::string_view old_text, std::string_view new_text) {
  const std::size_t at = message.find(old_text);
  EXPECT_NE(at, std::string::npos) << old_text << " is not in\n" << message;
  if (at != std::string::npos) message.replace(at, old_text.size(), new_text);
  return message;
}

CallTest::CallTest() {
  g_now = kBegin;
  clock_set_source([] { return g_now; });
  const std::uint16_t free_port = FarEnd().port();
  contact_ = "sip:me@" + host_;
  xport_.nLocalPort = free_port;
  xport_.pszLocalHost = host_;
  ua_.pszContactUri = ua_.pszFromUri = contact_;
  ua_.pszPort = "5060";
  Describe(session_, session_pool_, host_);
  Start();
}

CallTest::~CallTest() {
  on_heard_ = nullptr;
  (void)CPSIP_Init();
  clock_set_source(nullptr);
}

void CallTest::Start() {
  heard_.clear();
  heard_formats_ = -1;
  dialog_ = nullptr;
  (void)CPSIP_Init();
  EXPECT_EQ(Create(), 0);
}

int CallTest::Create() {
  return CPSIP_ServiceCreate(this, &service_, kServiceUserAgent, &ua_, &xport_, Hear, &session_,
                             session_pool_, rtp_port_);
}

std::string CallTest::Offer() const {
  return "v=0\r\no=- 1 1 IN IP4 " + host_ + "\r\ns=-\r\nc=IN IP4 " + host_ +
         "\r\nt=0 0\r\nm=audio 4000 RTP/AVP 96\r\na=rtpmap:96 L24/48000/2\r\n";
}

std::string CallTest::Contact() const { return "Contact: <sip:far@" + far_.place() + ">\r\n"; }

std::string CallTest::Text(const Asked& asked) const {
  const std::string body = asked.offer ? Offer() : std::string();
  return asked.method + " sip:me@" + host_ + " SIP/2.0\r\nVia: SIP/2.0/UDP " + far_.place() +
         ";branch=" + asked.branch + "\r\nFrom: <sip:far@" + host_ + ">" + asked.from_parms +
         "\r\nTo: <sip:me@" + host_ + ">" + (asked.to_tag.empty() ? "" : ";tag=" + asked.to_tag) +
         "\r\nCall-ID: " + asked.call + "\r\nCSeq: " + std::to_string(asked.cseq) + " " + asked.method +
         "\r\n" + asked.headers + (asked.offer ? "Content-Type: application/sdp\r\n" : "") +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string CallTest::Answer(const std::string& request, const std::string& status,
                             const std::string& headers, bool offer) const {
  const std::string body = offer ? Offer() : std::string();
  return "SIP/2.0 " + status + "\r\nVia: " + HeaderOf(request, "Via") +
         "\r\nFrom: " + HeaderOf(request, "From") + "\r\nTo: " + HeaderOf(request, "To") +
         ";tag=theirs\r\nCall-ID: " + HeaderOf(request, "Call-ID") +
         "\r\nCSeq: " + HeaderOf(request, "CSeq") + "\r\n" + headers +
         (offer ? "Content-Type: application/sdp\r\n" : "") +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

void CallTest::SendText(std::string_view text) {
  far_.Send(text, ServicePort());
  std::vector<pollfd> open;
  for (const SocCB& cb : Cpsip_SOC_Blocks()) {
    if (cb.fd.is_open()) open.push_back({cb.fd.get(), POLLIN, 0});
  }
  EXPECT_GE(::poll(open.data(), open.size(), kPatienceMs), 1) << "a datagram was lost";
  EXPECT_EQ(CPSIP_Select(), 0);
}

int CallTest::Respond(std::uint16_t status, const std::string& reason) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->status_code = status;
  msg->cseq_method = cpsip_method::invite;
  msg->app_dialog_id = kLine;
  EXPECT_EQ(cpsip_msg_write(*msg, CPSIP_FLD_REASON, 1, 0, reason), kAccessOk);
  return CPSIP_MsgSend(service_, msg.release(), &dialog_);
}

int CallTest::Say(cpsip_method method, const std::string& uri, bool offer) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->method = method;
  msg->app_dialog_id = kLine;
  EXPECT_EQ(cpsip_msg_write(*msg, CPSIP_FLD_REQUEST_URI, 1, 0, uri), kAccessOk);
  if (offer) {
    msg->content_kind = cpsip_content_kind::sdp;
    msg->content_length = 1;
  }
  return CPSIP_MsgSend(service_, msg.release(), &dialog_);
}

std::string CallTest::Invite() {
  dialog_ = cpsip_new_dialog();
  EXPECT_EQ(Say(cpsip_method::invite, "sip:far@" + far_.place(), true), 0);
  const std::vector<std::string> received = Received();
  EXPECT_THAT(SummaryOf(received), ::testing::ElementsAre("INVITE"));
  return received.empty() ? std::string() : received.front();
}

void CallTest::TakeCall() {
  Send({.method = "INVITE", .headers = Contact(), .offer = true});
  EXPECT_EQ(Respond(200), 0);
  Send({.method = "ACK", .branch = "z9hG4bKack", .to_tag = OurTag()});
  EXPECT_THAT(Came(), ::testing::ElementsAre("100 INVITE", "200 INVITE"));
  EXPECT_THAT(heard_, ::testing::ElementsAre("INVITE", "ACK"));
  heard_.clear();
}

std::string CallTest::OurTag() const {
  const cpsip_dlog_cb* const dialog = Dialog();
  if (dialog == nullptr) {
    ADD_FAILURE() << "there is no dialog";
    return {};
  }
  cpsip_field_text room;
  const std::uint32_t field = dialog->is_caller ? CPSIP_FLD_FROM_PARM : CPSIP_FLD_TO_PARM;
  return std::string(cpsip_ua_tag(*dialog->state_msg, field, room));
}

cpsip_dlog_cb* CallTest::Dialog() const {
  const auto at = Service().by_handle.find(dialog_);
  return at != Service().by_handle.end() ? at->second : nullptr;
}

std::string CallTest::Method(cpsip_method method) {
  for (const auto& [one, name] : {std::pair{cpsip_method::invite, "INVITE"},
                                  {cpsip_method::ack, "ACK"},
                                  {cpsip_method::bye, "BYE"},
                                  {cpsip_method::cancel, "CANCEL"},
                                  {cpsip_method::options, "OPTIONS"},
                                  {cpsip_method::refer, "REFER"},
                                  {cpsip_method::notify, "NOTIFY"}}) {
    if (one == method) return name;
  }
  return {};
}

void CallTest::AdvanceSeconds(unsigned seconds) {
  for (; seconds != 0; --seconds) {
    g_now += kUsPerSecond;
    CPSIP_TimerTick();
  }
}

void CallTest::Hear(void* test, cpsip_msg* msg, void* dialog) {
  static_cast<CallTest*>(test)->Remember(*msg, dialog);
  if (msg->method != cpsip_method::local_status) CPSIP_MsgDelete(cpsip_msg_ptr(msg));
}

void CallTest::Remember(const cpsip_msg& msg, void* dialog) {
  const std::string of = Method(msg.cseq_method);
  const std::string with_method = std::to_string(msg.status_code) + (of.empty() ? "" : " " + of);
  if (msg.method == cpsip_method::local_status) {
    heard_.push_back("status " + with_method);
  } else {
    heard_.push_back(msg.method == cpsip_method::response ? with_method : Method(msg.method));
  }
  if (msg.method == cpsip_method::invite) {
    dialog_ = dialog;
    heard_formats_ = msg.sdp2 != nullptr && msg.sdp2->m_count != 0 ? msg.sdp2->media[0]->fmt_count : -1;
  }
  if (on_heard_) on_heard_(msg);
}

}  // namespace hark::test
