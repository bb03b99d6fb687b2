#include "cpsip/cpsip_service.h"

#include <sys/random.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <memory>

#include "base/clock.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_dialog.h"
#include "cpsip/cpsip_transport.h"
#include "cpsip/cpsip_ua.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_service;

enum cpsip_mode : std::uint32_t { kModeNoSocket = 1, kModeOpen2 = 2, kModeOpen3 = 3 };

// In the order of creation. A service that failed to start is among them until it is deleted.
std::list<std::shared_ptr<cpsip_serv_cb>> g_services;

using ServicePlace = std::list<std::shared_ptr<cpsip_serv_cb>>::iterator;

ServicePlace find_service(const void* handle) {
  return std::find_if(g_services.begin(), g_services.end(),
                      [handle](const std::shared_ptr<cpsip_serv_cb>& one) { return one.get() == handle; });
}

int error(int number) {
  cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(number));
  return number;
}

// The addresses that the service's texts tell.
int set_addresses(cpsip_serv_cb& service) {
  const cpsip_xport_parms& parms = *service.xport_parms;
  cpsip_xport& xport = service.xport;
  xport.local.type = xport.remote.type = service.ip_type == kIp4 ? kAddressIp4 : kAddressOther;
  xport.local.port = parms.nLocalPort;
  xport.remote.port = parms.nDefaultPort;
  xport.transport = parms.nTransport;
  if (service.ip_type != kIp4 && service.ip_type != kIp6) return 0;
  if (!parms.pszLocalHost.empty()) {
    if (Cpsip_SOC_StringToAddress(parms.pszLocalHost, xport.local.addr) != 0) return error(kServBadLocalHost);
    xport.flags |= kXportLocalKnown;
  }
  if (!parms.pszRouteHost.empty()) {
    if (Cpsip_SOC_StringToAddress(parms.pszRouteHost, xport.remote.addr) != 0)
      return error(kServBadRouteHost);
    xport.flags |= kXportRemoteKnown;
  }
  return 0;
}

// Every service seeds the random numbers of which tags and Call-IDs are made. They need only be unique: also
// among stations that are switched on at once, and for a service that is made anew within a second.
void seed() {
  static unsigned seeds = 0;
  unsigned noise = 0;
  (void)::getrandom(&noise, sizeof noise, GRND_NONBLOCK);
  std::srand(static_cast<unsigned>(clock_now()) + noise + ++seeds);
}

void forget_services() {
  std::list<std::shared_ptr<cpsip_serv_cb>> services;
  services.swap(g_services);
  for (const std::shared_ptr<cpsip_serv_cb>& service : services) {
    service->callback = [](void*, cpsip_msg* msg, void*) {
      if (msg->method != cpsip_method::local_status) CPSIP_MsgDelete(cpsip_msg_ptr(msg));
    };
    while (!service->dialogs.empty())
      (void)cpsip_serv_delete_dlog_cb(*service->dialogs.front());
    service->xport.socket = cpsip_soc_ref();
    service->callback = nullptr;
  }
}

}  // namespace

bool cpsip_any_service() { return !g_services.empty(); }

int CPSIP_Init() {
  forget_services();
  cpsip_snd_forget(nullptr);
  cpsip_timer_reset();
  Cpsip_SOC_Init();
  Cpsip_SOC_SetServiceCheck(cpsip_any_service);
  fd_set none;
  FD_ZERO(&none);
  const int slot = Cpsip_SOC_AddFdsetList(none, none, none);
  if (slot < 0) cpapp_fatal_err(cpapp_here(kHere));
  Cpsip_SOC_UseFdsetSlot(slot);
  seed();  // the ids of the services' descriptions are drawn ahead of the first service
  return 0;
}

int cpsip_serv_start_service(cpsip_serv_cb& service) {
  switch (service.xport_parms->nMode) {
    case kModeNoSocket:
      return 0;
    case kModeOpen2:
    case kModeOpen3:
      if (cpsip_net_open(*service.xport.socket.get(), service.xport.local, service.xport.remote) != 0)
        return error(kServOpenFailed);
      service.xport.local.port = service.xport.socket->local.port;
      service.state = kSocBound;
      return 0;
    default:
      return error(kServBadMode);
  }
}

int CPSIP_ServiceCreate(void* app_serv_id, void** service, unsigned kind, const cpsip_ua_parms* ua_parms,
                        const cpsip_xport_parms* xport_parms, cpsip_app_callback callback, cpsdp_parms* sdp,
                        std::string_view sdp_pool, std::uint16_t rtpPort) {
  auto made = std::make_shared<cpsip_serv_cb>();
  made->app_serv_id = app_serv_id;
  made->service_type = kind;
  made->xport_parms = xport_parms;
  made->ua_parms = ua_parms;
  made->callback = callback;
  made->default_sdp = sdp;
  made->default_sdp_pool = sdp_pool;
  made->rtp_port = rtpPort;
  made->ip_type = cpsip_net_iptype(xport_parms->pszLocalHost);
  for (std::size_t i = 0; i < sdp->m_count && i < sdp->media.size(); ++i)
    sdp->media[i]->m_port = rtpPort;
  // Listed before anything can fail, so that a failed service has a handle to be deleted by.
  g_services.push_back(made);
  *service = made.get();
  if (kind != kServiceUserAgent) return error(kServBadService);
  seed();
  SocCB* const cb = Cpsip_SOC_AddSocCB(made.get(), cpsip_net_soc_callback, cpsip_transport_kind::udp);
  if (cb == nullptr) return error(kServOpenFailed);
  made->xport.socket = cpsip_soc_ref(cb);
  if (const int result = set_addresses(*made); result != 0) return result;
  return cpsip_serv_start_service(*made);
}

// Off the list first: who is told of a dialog's end can begin nothing new on a service that goes.
int CPSIP_ServiceDelete(void* service) {
  const auto place = find_service(service);
  if (service == nullptr || place == g_services.end()) return error(kServBadService);
  const std::shared_ptr<cpsip_serv_cb> keep = *place;
  g_services.erase(place);
  while (!keep->dialogs.empty())
    (void)cpsip_serv_delete_dlog_cb(*keep->dialogs.front());
  for (SocCB& cb : Cpsip_SOC_Blocks()) {
    if (cb.owner == keep.get()) cb.owner = nullptr;
  }
  keep->xport.socket = cpsip_soc_ref();
  keep->callback = nullptr;
  return 0;
}

int CPSIP_MsgSend(void* service, cpsip_msg* msg, void** dialog) {
  cpsip_msg_ptr guard(msg);
  const auto place = find_service(service);
  if (place == g_services.end()) return error(kServBadService);
  if (guard == nullptr) return kServBadDialog;
  const std::shared_ptr<cpsip_serv_cb> keep = *place;
  cpsip_dlog_ptr found;
  if (*dialog == cpsip_new_dialog()) {
    found = cpsip_serv_create_dlog_cb(*keep);
    *dialog = found.get();
    if (found != nullptr && msg->related_dialog != nullptr) {
      const auto related = keep->by_handle.find(msg->related_dialog);
      if (related != keep->by_handle.end()) found->related_dialog = related->second->weak_from_this();
    }
  } else if (const auto at = keep->by_handle.find(*dialog); at != keep->by_handle.end()) {
    found = at->second->shared_from_this();
  }
  if (found == nullptr) return kServBadDialog;
  if (found->app_dialog_id == 0) found->app_dialog_id = msg->app_dialog_id;
  if (keep->service_type != kServiceUserAgent) return 0;
  return cpsip_ua_send(*found, std::move(guard));
}

}  // namespace hark
