// The loop of libwebsockets, as far as the gateway's own sockets need it: descriptors that are watched beside
// its web connections, and the clock.
#pragma once

#include <libwebsockets.h>

#include "base/fd.h"
#include "tools/harkpanel/back_off.h"

namespace hark::panel_gateway {

// Milliseconds of a steady clock.
[[nodiscard]] Ms now_ms();

// A descriptor in the loop.
class Watched {
 public:
  Watched() = default;
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;
  virtual ~Watched() { drop(); }

 protected:
  // Puts the descriptor into the loop, which closes it at the end. False: it is closed already. Requires that
  // none is watched now.
  [[nodiscard]] bool watch(lws_vhost* vhost, UniqueFd file);
  // on_writable() comes once, when it can be written to.
  void want_write();
  // The loop closes it soon; nothing of it is told any more. May be called from the functions below.
  void drop();
  [[nodiscard]] bool watching() const { return wsi_ != nullptr; }
  [[nodiscard]] int fd() const;

  virtual void on_readable() = 0;
  virtual void on_writable() {}
  // The loop has given it up, since it is broken. It is not watched any more; `file` closes afterwards.
  virtual void on_broken(int /*file*/) {}

 private:
  friend int watched_callback(lws*, lws_callback_reasons, void*, void*, size_t);
  lws* wsi_ = nullptr;
};

// The protocol of such descriptors, for the list of a vhost.
inline constexpr const char* kWatchedProtocol = "watched";
int watched_callback(lws* wsi, lws_callback_reasons reason, void* user, void* in, size_t length);

// Ends a connection at once, whatever it still had to say. The loop's last callback for it comes soon, not
// now.
void kill_soon(lws* wsi);

}  // namespace hark::panel_gateway
