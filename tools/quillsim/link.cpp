#include "tools/quillsim/link.h"

#include <optional>
#include <utility>

namespace quillsim {

void Link::fill(fd_set& read, fd_set& write, int& highest) const {
  listener_.fill(read, highest);
  station_.fill(read, write, highest, reading_);
}

void Link::serve(const fd_set& read, const fd_set& write) {
  // The station goes first, so that one that hung up and dials again meets a free place.
  station_.serve(read, write);
  std::optional<Listener::Arrival> arrival = listener_.accept(read);
  if (!arrival) return;
  if (connected()) return user_.link_turned_away(arrival->from);
  station_.open(std::move(arrival->fd));
  ++connections_;
  user_.link_opened(arrival->from);
}

}  // namespace quillsim
