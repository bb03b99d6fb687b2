#include "support/sip_world.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/clock.h"
#include "cpsip/cpsip_dialog.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_scan.h"
#include "cpsip/cpsip_timer.h"
#include "cpsip/cpsip_transport.h"
#include "support/fuzzing.h"
#include "support/sip_kernel.h"
#include "support/sip_message.h"
#include "support/sip_records.h"

namespace hark::fuzz {
namespace {

constexpr unsigned kMostSteps = 160;  // of one input, reactions and repetitions included
constexpr unsigned kMostDepth = 4;    // of reactions that cause callbacks
constexpr unsigned kLongestStepMs = 40'000;
constexpr unsigned kMostSeconds = 64;
constexpr unsigned kMostRepeated = 80;
constexpr std::string_view kTypes = "96=L24/48000/2|97=L16/48000/2|9=G722/8000|101=telephone-event/8000";

TimeUs g_now = 0;

struct Field {
  std::string_view name;
  std::uint32_t id;
};
constexpr std::array<Field, 7> kFields{{{"URI", CPSIP_FLD_REQUEST_URI},
                                        {"From", CPSIP_FLD_FROM_URI},
                                        {"To", CPSIP_FLD_TO_URI},
                                        {"Contact", CPSIP_FLD_CONTACT_URI},
                                        {"Reason", CPSIP_FLD_REASON},
                                        {"Refer-To", CPSIP_FLD_REFER_TO_URI},
                                        {"Subject", CPSIP_FLD_SUBJECT}}};

cpsip_method method_of(std::string_view text) {
  const cpsip_row& row = cpsip_find_method(text);
  return static_cast<cpsip_method>(row.id);
}

// The application's texts are its own: plain ones.
std::string plain(std::string_view text) {
  std::string out;
  for (const char c : text)
    out += c > ' ' && c < 127 && c != '"' && c != '<' && c != '>' && c != ',' ? c : '_';
  return out;
}

void write_field(cpsip_msg& msg, std::string_view part) {
  const std::size_t colon = part.find(": ");
  for (const Field& field : kFields) {
    if (colon != part.npos && field.name == part.substr(0, colon))
      (void)cpsip_msg_write(msg, field.id, 1, 0, plain(part.substr(colon + 2)));
  }
}

// No application makes a call on top of one that is being made: its lines would refuse that.
bool may_invite(const void* handle) {
  if (handle == cpsip_new_dialog()) return true;
  const std::vector<cpsip_dlog_ptr> dialogs = dialogs_of_stack();
  const auto at = std::find_if(dialogs.begin(), dialogs.end(),
                               [handle](const cpsip_dlog_ptr& one) { return one.get() == handle; });
  return at == dialogs.end() || ((*at)->state == DLG_CONFIRMED && (*at)->sub_state != DLG_INVITE_RECEIVED);
}

bool is_local(const cpsip_msg& msg) { return msg.method == cpsip_method::local_status; }

}  // namespace

void trace(const char* what, std::string_view text) {
  static const bool wanted = std::getenv("SIP_TRACE") != nullptr;
  if (wanted) (void)::dprintf(STDERR_FILENO, "%s%.*s\n", what, static_cast<int>(text.size()), text.data());
}

void SipClock::Start() {
  g_now = 1'700'000'000 * kUsPerSecond;
  clock_set_source([] { return g_now; });
  clock_set_tick_source([] { return static_cast<std::int32_t>(g_now / 10'000 & 0x7FFFFFFF); });
}

void SipClock::Advance(unsigned ms) { g_now += ms * kUsPerMs; }

void check_sent(const SentDatagram& sent, bool tame) {
  check(!sent.text.empty() && sent.text.size() <= kSocketBlockSize, "a datagram is a block at most");
  if (!tame || sent.text.size() >= kSocketBlockSize) return;  // the rest of such a message is lost
  cpsip_scan scan;
  bool complete = false;
  std::uint32_t left_over = 0;
  const int result = cpsip_msg_scan(scan, block_of(sent.text), complete, left_over);
  check(result == kScanOk && complete && left_over == 0, "what leaves is a whole message");
  check(scan.scan_msg->scan_status == 0, "what leaves is nothing that we would refuse");
}

SipWorld::SipWorld(std::string_view word) {
  SipKernel::Reset();
  SipClock::Start();
  SipKernel::OnSend([this](const SentDatagram& sent) {
    trace("--> ", sent.text);
    ++sent_;
    if (sent.text == last_sent_) return;  // again
    last_sent_ = sent.text;
    check_sent(sent, tame_);
    far_.Observe(sent);
  });
  check(CPSIP_Init() == 0, "the stack starts");
  const auto has = [word](char flag) { return word.find(flag) != word.npos; };
  ua_.pszScheme = "sip:";
  ua_.pszDomain = "10.0.0.1";
  ua_.pszFromName = ua_.pszContactName = "Hark";
  ua_.pszFromUri = "sip:hark@10.0.0.1";
  ua_.pszContactUri = "sip:hark@10.0.0.1";
  ua_.pszPort = "5060";
  ua_.pszUserAgent = "Agent";
  if (has('r')) ua_.pszRoute = "10.0.0.254;lr";
  if (has('t')) ua_.nT1 = 100;
  xport_.nLocalPort = 5060;
  xport_.pszLocalHost = "10.0.0.1";
  if (has('p')) xport_.pszPublicHost = "192.0.2.1";
  if (has('r')) xport_.pszRouteHost = "10.0.0.254";
  if (!has('n') && payloads_.ParsePayloadTypes(kTypes.data()))
    pool_size_ = InitSDPConfig(sdp_, pool_, "10.0.0.1", payloads_.types());
  CreateService();
}

SipWorld::~SipWorld() {
  on_delivery_.clear();
  if (service_ != nullptr) SwitchService();
  check_nothing_left();
  SipKernel::OnSend(nullptr);
}

void SipWorld::CreateService() {
  const int result = CPSIP_ServiceCreate(this, &service_, kServiceUserAgent, &ua_, &xport_, Delivered, &sdp_,
                                         std::string_view(pool_.data(), pool_size_), 5004);
  if (result == 0) return;
  (void)CPSIP_ServiceDelete(std::exchange(service_, nullptr));
}

void SipWorld::SwitchService() {
  if (service_ == nullptr) return CreateService();
  check(CPSIP_ServiceDelete(std::exchange(service_, nullptr)) == 0, "a service is deleted once");
}

void* SipWorld::DialogOf(std::string_view number) const {
  if (dialogs_.empty()) return nullptr;
  return number.empty() ? dialogs_.back() : dialogs_[number_of(number, 1000) % dialogs_.size()];
}

void SipWorld::Delivered(void* self, cpsip_msg* msg, void* dialog) {
  check(msg != nullptr, "there is a message");
  const cpsip_msg_ptr taken(is_local(*msg) ? nullptr : msg);
  static_cast<SipWorld*>(self)->OnMessage(*msg, dialog);
}

void SipWorld::OnMessage(const cpsip_msg& msg, void* dialog) {
  check(dialog != nullptr, "what is delivered is of a dialog");
  trace("    delivered: ",
        std::to_string(static_cast<unsigned>(msg.method)) + " " + std::to_string(msg.status_code));
  const auto& record = *static_cast<const cpsip_dlog_cb*>(dialog);
  check(msg.app_dialog_id == record.app_dialog_id, "a delivered message has its dialog's handle");
  check(record.is_gone() == (is_local(msg) && msg.status_code == kStatusDialogDeleted),
        "only the end of a dialog comes behind it");
  if (std::find(dialogs_.begin(), dialogs_.end(), dialog) == dialogs_.end()) dialogs_.push_back(dialog);
  if (on_delivery_.empty() || depth_ >= kMostDepth) return;
  const std::string step = std::move(on_delivery_.front());
  on_delivery_.pop_front();
  ++depth_;
  if (!step.starts_with('*')) Do(step);
  --depth_;
}

void SipWorld::Arrive(const FarDatagram& datagram) {
  trace("<-- ", datagram.text);
  tame_ = tame_ && is_tame(datagram.text);
  SipKernel::Arrive(datagram.to_port, datagram.text, datagram.from_addr, datagram.from_port);
}

void SipWorld::SendOn(cpsip_msg_ptr msg, void* dialog) {
  if (service_ == nullptr || dialog == nullptr) return;
  void* handle = dialog;
  if (msg->app_dialog_id == 0) msg->app_dialog_id = ++next_id_;
  (void)CPSIP_MsgSend(service_, msg.release(), &handle);
  if (dialog == cpsip_new_dialog() && handle != dialog && handle != nullptr &&
      std::find(dialogs_.begin(), dialogs_.end(), handle) == dialogs_.end())
    dialogs_.push_back(handle);
}

void SipWorld::Send(std::string_view line) {
  const std::vector<std::string> parts = split(line, "|");
  const std::string& head = parts.front();
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  const bool response = head.size() > 4 && head[0] >= '0' && head[0] <= '9' && head[3] == ' ';
  if (response) {
    msg->status_code = static_cast<std::uint16_t>(std::max(100U, number_of(head, 699)));
    msg->cseq_method = method_of(std::string_view(head).substr(4));
  } else {
    msg->method = method_of(head);
  }
  if (msg->method == cpsip_method::unrecognized || msg->cseq_method == cpsip_method::unrecognized ||
      (msg->method == cpsip_method::response) != response)
    return;
  void* dialog = DialogOf("");
  for (const std::string& part : parts) {
    if (&part == &head || part.empty()) continue;
    const std::string_view rest = std::string_view(part).substr(1);
    switch (part[0]) {
      case '&':
        dialog = DialogOf(rest);
        break;
      case '*':
        dialog = cpsip_new_dialog();
        break;
      case '%':
        msg->content_length = 1;
        msg->content_kind = cpsip_content_kind::sdp;
        break;
      case '#':
        msg->app_dialog_id = number_of(rest, 0xFFFF);
        break;
      case '^':
        msg->related_dialog = DialogOf(rest);
        break;
      default:
        write_field(*msg, part);
    }
  }
  if (msg->method == cpsip_method::invite && !may_invite(dialog)) return;
  SendOn(std::move(msg), dialog);
}

// Nothing is known of the handle but that it was one.
void SipWorld::DeleteDialog(std::string_view step) {
  const void* const handle = DialogOf(step.substr(step.starts_with('&') ? 1 : 0));
  for (const cpsip_dlog_ptr& dialog : dialogs_of_stack()) {
    if (dialog.get() == handle) (void)cpsip_serv_delete_dlog_cb(*dialog);
  }
}

void SipWorld::Repeat(std::string_view step) {
  const unsigned times = number_of(step, kMostRepeated);
  const std::size_t at = step.find(' ');
  if (at == step.npos || step.substr(at + 1).starts_with(':')) return;
  for (unsigned i = 0; i < times; ++i)
    Do(step.substr(at + 1));
}

void SipWorld::Do(std::string_view step) {
  if (step.empty() || ++steps_ > kMostSteps) return;
  trace("==== ", step);
  const std::string_view rest = step.substr(1);
  switch (step[0]) {
    case '<':
      return Arrive(far_.Make(rest));
    case '=':
      return Arrive(far_.Again());
    case '.':
      return Arrive(far_.MakeRaw(rest));
    case '>':
      return Send(rest);
    case '@':
      SipClock::Advance(number_of(rest, kLongestStepMs));
      return;
    case ',':
      if (depth_ == 0) PassSeconds(number_of(rest, kMostSeconds));
      return;
    case '*':
      return on_delivery_.push_back(rest.empty() ? "*" : std::string(rest));
    case 'x':
      return DeleteDialog(rest);
    case 'X':
      return SwitchService();
    case '!':
      return SipKernel::Fail(number_of(rest, 9));
    case ':':
      return Repeat(rest);
    default:
      return;
  }
}

void SipWorld::Pump() {
  while (SipKernel::HasUnread()) {
    (void)CPSIP_Select();
    check_records();
  }
  CPSIP_TimerTick();
  check_records();
}

void SipWorld::Pass(unsigned ms) {
  SipClock::Advance(ms);
  Pump();
}

void SipWorld::PassSeconds(unsigned seconds) {
  for (unsigned i = 0; i < seconds; ++i)
    Pass(1000);
}

void SipWorld::Run(std::string_view step) {
  Do(step);
  Pump();
}

}  // namespace hark::fuzz
