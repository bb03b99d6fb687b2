// The far ends of a station's links, played by the process that has the links itself: eight devices whose
// destinations the IFB link takes, and a device of the control group. They answer only when they are told to,
// so that nothing of theirs is in what is measured.
#pragma once

#include <netinet/in.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/fd.h"
#include "peers.h"

namespace hark::bench {

inline constexpr int kFarDevices = 8;

class LinkPeers {
 public:
  // Points the PTT requests of this process at a socket of its own in place of the group. Before the
  // station's socket is opened.
  LinkPeers();

  // Uses all ports: those of the IFB link evenly on the devices, each with a destination of its own, and each
  // of the PTT requests with a channel of its own. Then makes passes until every one of them is active. False
  // when that does not come.
  bool activate(const std::function<void()>& pass);
  // Answers what has come.
  void serve();

 private:
  struct Device {
    Listener listener;
    UniqueFd connection;
    std::string unread;
  };
  [[nodiscard]] bool set_ports() const;
  [[nodiscard]] bool all_active() const;
  void serve_device(Device& device);
  void serve_group();

  std::vector<std::unique_ptr<Device>> devices_;
  UniqueFd group_;
  std::set<int> taken_;  // destinations that carry our address
};

}  // namespace hark::bench
