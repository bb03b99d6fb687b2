// The frame of the SIP stack: its start, its services, and the entry by which the application sends. What the
// user agent sees of the stack is here, and the sets and the pass of cpsip_socket.h and the tick of
// cpsip_timer.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_uri.h"

namespace hark {

// How a service reaches the network. Texts are borrowed for the life of the service.
struct cpsip_xport_parms {
  cpsip_transport_kind nTransport = cpsip_transport_kind::udp;
  std::uint32_t nMode = 3;  // 1: no socket; 2 and 3: the service opens its socket at its start
  std::uint16_t nLocalPort = 0;
  std::uint16_t nDefaultPort = 5060;
  std::string_view pszAltHost;     // no reader
  std::string_view pszLocalHost;   // the address of the socket, dotted
  std::string_view pszRouteHost;   // of the outbound route, dotted; empty: none
  std::string_view pszPublicHost;  // for Via, when it is not pszLocalHost; else empty
};

// What a service says of itself, and its times. Texts are borrowed for the life of the service.
struct cpsip_ua_parms {
  std::uint16_t nT1 = 500;   // ms, RFC 3261 17.1.1.1
  std::uint16_t nT2 = 4000;  // ms
  std::uint16_t nT4 = 5000;  // ms
  std::string_view pszScheme;
  std::string_view pszDomain;
  std::string_view pszFromName;
  std::string_view pszFromUri;
  std::string_view pszPort;
  std::string_view pszReserved;
  std::string_view pszContactName;
  std::string_view pszContactUri;
  std::string_view pszUserAgent;
  std::string_view pszRoute;      // outbound route, an address with ";lr"; empty: none
  std::uint32_t nExpires = 3600;  // seconds; no reader
  std::uint8_t nMaxForwards = 70;
  std::uint32_t nOptions = 1;  // no reader
};

// What a service delivers. *Takes* `msg`, but for a local status (method local_status), which the stack
// deletes itself when the callback returns. `dialog` is a handle for CPSIP_MsgSend, and may be none by then.
using cpsip_app_callback = void (*)(void* app_serv_id, cpsip_msg* msg, void* dialog);

inline constexpr unsigned kServiceUserAgent = 2;  // the one kind of service

enum cpsip_serv_error : int {
  kServOpenFailed = 11,
  kServBadService = 15,
  kServBadMode = 16,
  kServBadDialog = 18,
  kServBadLocalHost = 38,
  kServBadRouteHost = 39,
};

// Local statuses: the status codes of messages of method local_status, by which the stack tells the
// application what no message says.
enum cpsip_local_status : std::uint16_t {
  kStatusTimerB = 2,             // no answer to an INVITE
  kStatusTimerF = 6,             // no answer to another request, whose method is cseq_method
  kStatusClearStuckDialog = 32,  // a 2xx came for a cancelled INVITE, or a BYE is impossible
  kStatusPortConfigErr = 33,     // a Contact or next hop that cannot be used
  kStatusTimer2xx = 34,          // no ACK to a 2xx; the application is to send BYE
  kStatusInviteFailed = 42,      // a first INVITE that could not be routed
  kStatusDialogDeleted = 999,
};

// The value of a dialog handle that asks for a new dialog: 1, which no dialog's address is.
[[nodiscard]] inline void* cpsip_new_dialog() {
  return reinterpret_cast<void*>(std::uintptr_t{1});  // NOLINT(performance-no-int-to-ptr)
}

// Starts the stack, with no service. Services, dialogs and timers of an earlier start are forgotten without a
// callback. 0.
int CPSIP_Init();

// Makes a service. Borrows everything until CPSIP_ServiceDelete; `sdp`, whose media get `rtpPort`, may be
// empty (no media). `service` is the handle, set as soon as there is one to delete, also by a failure. 0, or
// a cpsip_serv_error.
[[nodiscard]] int CPSIP_ServiceCreate(void* app_serv_id, void** service, unsigned kind,
                                      const cpsip_ua_parms* ua_parms, const cpsip_xport_parms* xport_parms,
                                      cpsip_app_callback callback, cpsdp_parms* sdp,
                                      std::string_view sdp_pool, std::uint16_t rtpPort);

// Ends a service with its dialogs, each of which is told with kStatusDialogDeleted first. 0, or
// kServBadService for one that is null or none.
int CPSIP_ServiceDelete(void* service);

// Sends a message. *Takes* `msg`. `*dialog` is a dialog's handle, or cpsip_new_dialog(), and then becomes the
// handle before anything is sent, so that callbacks during the call find it set. 0; kServBadService;
// kServBadDialog for a dialog that is none (any more); else the error of sending.
int CPSIP_MsgSend(void* service, cpsip_msg* msg, void** dialog);

// How many dialogs and transactions there are in all services, lingering ones included.
[[nodiscard]] std::size_t cpsip_dialog_count();
[[nodiscard]] std::size_t cpsip_transaction_count();

}  // namespace hark
