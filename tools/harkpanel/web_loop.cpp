#include "tools/harkpanel/web_loop.h"

#include <chrono>

namespace hark::panel_gateway {

Ms now_ms() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

void kill_soon(lws* wsi) { lws_set_timeout(wsi, PENDING_TIMEOUT_USER_REASON_BASE, LWS_TO_KILL_ASYNC); }

bool Watched::watch(lws_vhost* vhost, UniqueFd file) {
  lws_adopt_desc_t adopted{};
  adopted.vh = vhost;
  adopted.type = LWS_ADOPT_RAW_FILE_DESC;
  adopted.fd.filefd = file.release();
  adopted.vh_prot_name = kWatchedProtocol;
  adopted.opaque = this;
  wsi_ = lws_adopt_descriptor_vhost_via_info(&adopted);
  return wsi_ != nullptr;
}

void Watched::want_write() {
  if (wsi_ != nullptr) (void)lws_callback_on_writable(wsi_);
}

void Watched::drop() {
  if (wsi_ == nullptr) return;
  lws_set_opaque_user_data(wsi_, nullptr);
  kill_soon(wsi_);
  wsi_ = nullptr;
}

int Watched::fd() const { return wsi_ == nullptr ? -1 : lws_get_socket_fd(wsi_); }

int watched_callback(lws* wsi, lws_callback_reasons reason, void* /*user*/, void* /*in*/, size_t /*length*/) {
  const auto watched = [wsi] { return static_cast<Watched*>(lws_get_opaque_user_data(wsi)); };
  Watched* const it = watched();
  switch (reason) {
    case LWS_CALLBACK_RAW_RX_FILE:
      if (it != nullptr) it->on_readable();
      return watched() == nullptr ? -1 : 0;
    case LWS_CALLBACK_RAW_WRITEABLE_FILE:
      if (it != nullptr) it->on_writable();
      return watched() == nullptr ? -1 : 0;
    case LWS_CALLBACK_RAW_CLOSE_FILE:
      if (it == nullptr) return 0;
      it->wsi_ = nullptr;
      lws_set_opaque_user_data(wsi, nullptr);
      it->on_broken(lws_get_socket_fd(wsi));
      return 0;
    case LWS_CALLBACK_FILTER_PROTOCOL_CONNECTION:
      return -1;  // a browser that asks for this protocol
    default:
      return 0;
  }
}

}  // namespace hark::panel_gateway
