// The one connection to the station's control port: dials, cuts what comes into lines, sends what it is told.
// All that it reports comes from the loop, never from within a call of its user.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/control/line_splitter.h"
#include "tools/control/station_address.h"
#include "tools/harkpanel/gateway.h"
#include "tools/harkpanel/host_lookup.h"
#include "tools/harkpanel/web_loop.h"

namespace hark::panel_gateway {

// To find the station and be let in. A little less than the gateway's own patience, which knows no reason.
inline constexpr Ms kConnectTime = kDialTime - 500;
inline constexpr std::size_t kMostUnsent = std::size_t{64} << 10;  // then it takes nothing any more

// Whom a link reports to. Each of these may call any function of the link.
class StationLinkUser {
 public:
  virtual ~StationLinkUser() = default;
  virtual void station_connected() = 0;
  virtual void station_said(const std::string& line) = 0;
  virtual void station_lost(std::string_view why) = 0;
};

class StationLink : private Watched {
 public:
  // Borrows all but the address. The loop outlives it.
  StationLink(lws_context* context, lws_vhost* vhost, control::HostPort station, StationLinkUser& user)
      : context_(context), vhost_(vhost), station_(std::move(station)), user_(user) {}
  ~StationLink() override { lws_sul_cancel(&soon_); }

  // Connects; station_connected() or station_lost() follows, and stands for the report of an earlier loss
  // that has not been made yet. An attempt that is under way goes on.
  void dial();
  // Gives the attempt or the connection up; station_lost() follows.
  void give_up();
  // What the station does not take at once waits. Passed over while there is no connection.
  void send(std::string_view text);
  [[nodiscard]] bool connected() const { return state_ == State::kUp; }
  // Whether the station has yet to take something.
  [[nodiscard]] bool waiting() const { return !unsent_.empty(); }
  // Looks at what takes time. Several times a second.
  void tick(Ms now);

  // The last: sends what waits, then tells the station that no more will come. Its answers are still
  // reported, which say that it has heard the last keys; the end of the connection is not.
  void finish();
  // Whether the station has heard everything, or there is none.
  [[nodiscard]] bool finished() const { return !watching(); }

 private:
  enum class State { kIdle, kLookup, kConnecting, kUp, kLost, kFinishing };

  void connect_next();
  void check_connected();
  void fail(std::string_view why);
  // From the loop: the next address, or the report of the loss.
  void go_on_soon();
  static void go_on(lws_sorted_usec_list_t* timer);
  void flush();
  void after_flush();

  void on_readable() override;
  void on_writable() override;
  void on_broken(int file) override;

  struct Soon : lws_sorted_usec_list_t {
    StationLink* link = nullptr;
  };

  lws_context* context_;
  lws_vhost* vhost_;
  control::HostPort station_;
  StationLinkUser& user_;
  State state_ = State::kIdle;
  HostLookup lookup_;
  std::size_t next_address_ = 0;
  Ms give_up_at_ = 0;  // the attempt as a whole
  Ms next_at_ = 0;     // with the present address
  std::string why_;    // why the last address failed, or the link was lost
  control::LineSplitter lines_;
  std::string unsent_;
  bool waits_ = false;  // on_writable() comes
  Soon soon_{};
};

}  // namespace hark::panel_gateway
