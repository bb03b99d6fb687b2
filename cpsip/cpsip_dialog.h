// The records of the SIP stack's inner layers: a service, a dialog with its transactions, and the transport
// record between them. Dialogs are shared: a service holds them, and whoever works on one holds it until he
// is done, so that a dialog that dies in a callback is gone from every list but not from under his feet. The
// form for that: hold a cpsip_dlog_ptr, and ask is_gone() after every call that may call back. For the stack
// only; what the user agent sees is in cpsip_service.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_service.h"
#include "cpsip/cpsip_socket.h"
#include "cpsip/cpsip_timer.h"

namespace hark {

struct cpsip_dlog_cb;
struct cpsip_serv_cb;

using cpsip_dlog_ptr = std::shared_ptr<cpsip_dlog_cb>;
// A message that has several roles at once: what is resent, the dialog's memory, an entry of the queue.
using cpsip_msg_shared = std::shared_ptr<cpsip_msg>;

// Bounds of what datagrams can make the stack keep: 32 s of more than 350 calls a second. At the first two
// the oldest dialog that no line uses ends early; when there is none, and at the others, the message is
// dropped without an answer.
inline constexpr std::size_t kMaxDialogs = 12288;          // of the process
inline constexpr std::size_t kMaxTransactions = 16384;     // of the process
inline constexpr std::size_t kMaxDialogTransactions = 32;  // of a dialog, in each direction
inline constexpr std::size_t kMaxDialogsOfOneCall = 64;    // with one Call-ID and tag

// A use of a socket block.
class cpsip_soc_ref {
 public:
  cpsip_soc_ref() = default;
  // Counts a use.
  explicit cpsip_soc_ref(SocCB* cb) : cb_(cb), life_(cb != nullptr ? cb->life : 0) {
    if (cb_ != nullptr) ++cb_->refcount;
  }
  cpsip_soc_ref(const cpsip_soc_ref& other) : cpsip_soc_ref(other.get()) {}
  cpsip_soc_ref(cpsip_soc_ref&& other) noexcept
      : cb_(std::exchange(other.cb_, nullptr)), life_(other.life_) {}
  cpsip_soc_ref& operator=(cpsip_soc_ref other) noexcept {
    std::swap(cb_, other.cb_);
    std::swap(life_, other.life_);
    return *this;
  }
  // Ends the use by cpsip_net_close.
  ~cpsip_soc_ref();

  // Null also when the block has been given to another user since, as by a new start of the stack.
  [[nodiscard]] SocCB* get() const { return cb_ != nullptr && cb_->life == life_ ? cb_ : nullptr; }
  // *Requires* one.
  SocCB* operator->() const { return get(); }
  explicit operator bool() const { return get() != nullptr; }

 private:
  SocCB* cb_ = nullptr;
  std::uint64_t life_ = 0;
};

inline constexpr std::uint32_t kXportLocalKnown = 1;
inline constexpr std::uint32_t kXportRemoteKnown = 2;
inline constexpr std::uint32_t kXportReady = kXportLocalKnown | kXportRemoteKnown;

// Where the messages of a dialog go. A dialog's is a copy of its service's.
struct cpsip_xport {
  cpsip_address local;
  cpsip_address remote;  // the next destination
  std::uint32_t flags = 0;
  cpsip_transport_kind transport = cpsip_transport_kind::udp;
  cpsip_soc_ref socket;
};

enum cpsip_tact_state : std::uint32_t {
  TACT_NEW = 0,
  TACT_CALLING = 1,     // client INVITE
  TACT_TRYING = 2,      // client and server, other requests
  TACT_PROCEEDING = 3,  // all
  TACT_COMPLETED = 4,   // all
  TACT_CONFIRMED = 5,   // server INVITE
};

// Ids of timers. Those up to K are a transaction's, the others a dialog's.
enum cpsip_timer_id : std::uint32_t {
  kTimerA = 1,
  kTimerB = 2,
  kTimerD = 4,
  kTimerE = 5,
  kTimerF = 6,
  kTimerG = 7,
  kTimerH = 8,
  kTimerI = 9,
  kTimerJ = 10,
  kTimerK = 11,
  kTimerRemoval = 12,  // of a dialog, after an answer without a transaction
  kTimer2xx = 14,      // of a dialog: the next resending of a 2xx
};
inline constexpr std::size_t kTactTimers = 12;  // by id, 1 to 11

// A transaction, RFC 3261 section 17.
struct cpsip_tact_cb : std::enable_shared_from_this<cpsip_tact_cb> {
  explicit cpsip_tact_cb(cpsip_dlog_cb& owner, bool is_client) : dialog(&owner), client(is_client) {}
  ~cpsip_tact_cb();  // stops all timers
  cpsip_tact_cb(const cpsip_tact_cb&) = delete;
  cpsip_tact_cb& operator=(const cpsip_tact_cb&) = delete;

  cpsip_dlog_cb* dialog;  // its owner; outlives it
  bool client;
  bool gone = false;                             // deleted, but held by who works on it
  cpsip_method method = cpsip_method::response;  // CSeq method
  std::uint32_t cseq = 0;
  cpsip_tact_state state = TACT_NEW;
  std::uint32_t t1_ms = 0;
  std::uint32_t t2_ms = 0;
  std::uint32_t t4_ms = 0;
  cpsip_msg_shared last_msg;  // what is resent: a client's request, a server's last response
  cpsip_msg_shared ack_msg;   // client: the ACK of a final response other than 2xx
  cpsip_msg_ptr via_msg;      // server: a message with the Via list of the request
  std::string branch;         // the value, without "branch="; empty: none
  std::string request_uri;    // server: of the request
  std::array<cpsip_timer_handle, kTactTimers> timers{};
};
using cpsip_tact_ptr = std::shared_ptr<cpsip_tact_cb>;
using cpsip_tact_list = std::vector<cpsip_tact_ptr>;  // the newest first

// `state` of a dialog; `sub_state` takes them too, of an INVITE inside a confirmed dialog.
enum cpsip_dlog_state : std::uint32_t {
  DLG_NEW = 0,
  DLG_ENDED = 1,  // the record stays until its transactions time out
  DLG_INVITE_RECEIVED = 2,
  DLG_INVITE_SENT = 3,
  DLG_ANSWERED = 4,     // 2xx or 487 received, ACK due
  DLG_ANSWER_SENT = 5,  // 2xx sent, ACK awaited
  DLG_CONFIRMED = 6,
  DLG_BYE_RECEIVED = 7,
  DLG_BYE_CROSSED = 8,
  DLG_BYE_SENT = 9,
  DLG_CANCEL_RECEIVED = 10,
  DLG_CANCEL_SENT = 11,
  DLG_CANCEL_ANSWERED = 12,    // sub-state only
  DLG_CANCEL_ACCEPTED = 13,    // a 200 to a CANCEL went out
  DLG_INVITE_TERMINATED = 14,  // 487 sent, ACK awaited
  DLG_OPTIONS = 18,            // a record made only for OPTIONS
  DLG_IDLE = 19,               // sub-state: no INVITE in progress
};

// `sdp_state`: where an exchange of descriptions stands (RFC 3264).
enum cpsip_sdp_state : std::uint32_t {
  SDP_IDLE = 0,
  SDP_OFFER_RECEIVED = 1,  // the answer is yet to be sent
  SDP_OFFER_SENT = 2,      // the answer is yet to come
  SDP_ANSWERED = 3,        // it has passed in a provisional response
};

inline constexpr std::uint32_t kAfterByeNotify = 11;

// The subscription that a REFER makes (RFC 3515).
struct cpsip_notify_cb {
  std::uint32_t state = 3;
  std::uint32_t cseq = 0;
  std::uint32_t sub_state = 0;
  std::uint32_t expires = 0;             // seconds
  std::uint32_t subscription_state = 0;  // the last Subscription-State id
};

struct cpsip_dlog_cb : std::enable_shared_from_this<cpsip_dlog_cb> {
  cpsip_dlog_cb() = default;
  ~cpsip_dlog_cb();  // stops its timers
  cpsip_dlog_cb(const cpsip_dlog_cb&) = delete;
  cpsip_dlog_cb& operator=(const cpsip_dlog_cb&) = delete;

  // Deleted: whoever still holds it returns without touching anything more.
  [[nodiscard]] bool is_gone() const { return service == nullptr; }

  std::uint32_t state = DLG_NEW;
  std::uint32_t sub_state = DLG_ENDED;
  cpsip_serv_cb* service = nullptr;  // its owner; null once the dialog is deleted
  cpsip_xport xport;
  cpsip_tact_list client_tacts;
  cpsip_tact_list server_tacts;
  std::uint32_t app_dialog_id = 0;  // the application's handle; 0: no line has it
  std::uint32_t local_cseq = 0;     // of the last request sent
  std::uint32_t invite_cseq = 0;    // of the current INVITE, in either direction
  std::uint32_t after_bye = 0;      // kAfterByeNotify: done but for the NOTIFY that ends a subscription
  // The dialog's memory: Call-ID, From, To with tags, route set, Contact, last cseq and method. Its
  // Request-URI is the remote target. Written with cpsip_dlog_reindex behind it.
  cpsip_msg_shared state_msg;
  std::uint16_t local_port = 0;  // for Via and Contact, host order; 0 until known
  bool is_caller = false;        // we sent the first request: From in state_msg is ours
  cpsip_msg_shared retrans_2xx;  // the 2xx that is resent until its ACK
  cpsip_timer_handle retrans_timer;
  cpsip_msg_shared refer_msg;  // the REFER in progress
  std::uint16_t recorded_status = 0;
  cpsip_timer_handle removal_timer;
  std::string maddr;          // of the next hop
  std::string remote_target;  // Request-URI of the first request
  std::uint32_t sdp_state = SDP_IDLE;
  std::array<std::uint16_t, kCpsdpMaxMedia> media_port{};  // 0 until assigned
  bool cancel_allowed = false;                             // a provisional response has come (RFC 3261 9.1)
  bool cancel_wanted = false;                              // a CANCEL waits for one
  bool bye_wanted = false;                                 // a BYE waits for the ACK of our 2xx
  std::unique_ptr<cpsip_notify_cb> notify_cb;
  std::uint32_t subscription_state = 0;
  std::weak_ptr<cpsip_dlog_cb> related_dialog;  // the one a REFER came in on; NOTIFYs go there
  std::string invite_branch;                    // of the INVITE that began a callee's dialog
  // Of INVITEs that were answered 482, the latest ones: a ring.
  std::array<std::string, 8> merged_branches;
  std::uint8_t merged_next = 0;

  // The service's bookkeeping.
  std::uint64_t number = 0;  // in the order of creation
  std::list<cpsip_dlog_ptr>::iterator place;
  std::array<std::uint64_t, 2> keys{};  // under which it is indexed
  bool indexed = false;
};

struct cpsip_serv_cb : std::enable_shared_from_this<cpsip_serv_cb> {
  void* app_serv_id = nullptr;
  unsigned service_type = 0;
  const cpsip_xport_parms* xport_parms = nullptr;  // borrowed, as the next ones
  const cpsip_ua_parms* ua_parms = nullptr;
  cpsip_app_callback callback = nullptr;
  cpsdp_parms* default_sdp = nullptr;
  std::string_view default_sdp_pool;
  std::uint16_t rtp_port = 0;
  int ip_type = -1;                   // of the local address, as cpsip_net_iptype tells it
  cpsip_xport xport;                  // what its dialogs begin with
  std::uint32_t state = 0;            // kSocBound: running
  std::list<cpsip_dlog_ptr> dialogs;  // the oldest first

  // Handles, and dialogs by Call-ID and tag: see cpsip_dlog_reindex.
  std::unordered_map<const void*, cpsip_dlog_cb*> by_handle;
  std::map<std::pair<std::uint64_t, std::uint64_t>, cpsip_dlog_cb*> by_call;
};

// A new dialog at the end of the service's list, with the service's transport record; null when kMaxDialogs
// stand and none of them can go.
[[nodiscard]] cpsip_dlog_ptr cpsip_serv_create_dlog_cb(cpsip_serv_cb& service);
// Deletes a dialog: takes it off all lists, ends its timers, transactions and queued messages, and tells the
// application (kStatusDialogDeleted). 0; kServBadDialog for one that is gone.
int cpsip_serv_delete_dlog_cb(cpsip_dlog_cb& dialog);
// The same when nothing can ever come of the dialog: it is new or ended, has no transaction and no timer.
void cpsip_serv_delete_if_done(cpsip_dlog_cb& dialog);
// To be called when the Call-ID or a tag of `state_msg` has changed: puts the dialog where
// cpsip_serv_candidates finds it.
void cpsip_dlog_reindex(cpsip_dlog_cb& dialog);
// The dialogs that have this Call-ID and, in either From or To, this tag, in the order of creation; perhaps
// others with them: the caller compares.
[[nodiscard]] std::vector<cpsip_dlog_cb*> cpsip_serv_candidates(const cpsip_serv_cb& service,
                                                                std::string_view call_id,
                                                                std::string_view tag);
// Makes room for one more transaction; false when there is none.
[[nodiscard]] bool cpsip_serv_room_for_transaction(cpsip_serv_cb& service);
void cpsip_serv_count_transactions(std::ptrdiff_t change);

// Hands a message to the application: *takes* it. With a dialog, its app_dialog_id is written into it first.
// A dead dialog's message is deleted.
void cpsip_serv_app_callback(cpsip_serv_cb* service, cpsip_msg_ptr msg, cpsip_dlog_cb* dialog);
// A local status for the dialog's application; `cseq_method` as it was of the request that failed.
void cpsip_serv_app_status(cpsip_dlog_cb& dialog, cpsip_local_status status,
                           cpsip_method cseq_method = cpsip_method::response);

// Takes what waits in the send queue for this dialog out of it.
void cpsip_serv_close_xport_cb(cpsip_dlog_cb& dialog);

int cpsip_serv_start_service(cpsip_serv_cb& service);

// Whether there is a service.
[[nodiscard]] bool cpsip_any_service();

// The dialog's REFER subscription, made if need be.
cpsip_notify_cb& cpsip_serv_create_notify_cb(cpsip_dlog_cb& dialog);
// 0, or kServBadDialog when there is none.
int cpsip_serv_delete_notify_cb(cpsip_dlog_cb& dialog);

}  // namespace hark
