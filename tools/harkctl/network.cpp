#include "tools/harkctl/network.h"

#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "base/fd.h"

namespace hark::ctl {
namespace {

// What the thread that asks, and who waits for it, share. Either may be gone first.
struct Lookup {
  control::HostPort place;
  int socket_type = 0;
  std::mutex mutex;
  std::condition_variable ended;
  bool is_over = false;
  Resolved found;
};

Resolved look_up(const control::HostPort& place, int socket_type, int flags) {
  addrinfo hints{};
  hints.ai_socktype = socket_type;
  hints.ai_flags = flags | AI_NUMERICSERV;
  addrinfo* list = nullptr;
  Resolved found;
  if (::getaddrinfo(place.host.c_str(), std::to_string(place.port).c_str(), &hints, &list) != 0) {
    found.why = "no host has this name";
    return found;
  }
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> guard(list, ::freeaddrinfo);
  for (const addrinfo* info = list; info != nullptr; info = info->ai_next) {
    Address& address = found.addresses.emplace_back();
    address.size = std::min<socklen_t>(info->ai_addrlen, sizeof address.storage);
    std::memcpy(&address.storage, info->ai_addr, address.size);
  }
  return found;
}

void run(const std::shared_ptr<Lookup>& lookup) {
  Resolved found = look_up(lookup->place, lookup->socket_type, 0);
  const std::lock_guard<std::mutex> lock(lookup->mutex);
  lookup->found = std::move(found);
  lookup->is_over = true;
  lookup->ended.notify_one();
}

}  // namespace

Resolved resolve(const control::HostPort& place, int socket_type, Deadline deadline) {
  Resolved numeric = look_up(place, socket_type, AI_NUMERICHOST);
  if (numeric.why.empty()) return numeric;
  const auto lookup = std::make_shared<Lookup>();
  lookup->place = place;
  lookup->socket_type = socket_type;
  std::thread(run, lookup).detach();
  std::unique_lock<std::mutex> lock(lookup->mutex);
  const bool in_time = lookup->ended.wait_until(lock, deadline, [&] { return lookup->is_over; });
  if (!in_time) return {{}, "the name server does not answer"};
  return lookup->found;
}

bool is_this_machine(const std::string& host) {
  if (control::is_loopback(host)) return true;
  const Resolved numeric = look_up({host, 0}, SOCK_DGRAM, AI_NUMERICHOST);
  return std::any_of(numeric.addresses.begin(), numeric.addresses.end(), [](const Address& address) {
    const UniqueFd fd(::socket(address.generic()->sa_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return fd.is_open() && ::bind(fd.get(), address.generic(), address.size) == 0;
  });
}

std::string reason_of(int error) {
  switch (error) {
    case ECONNREFUSED:
      return "connection refused";
    case EHOSTUNREACH:
    case ENETUNREACH:
      return "no route";
    case ETIMEDOUT:
      return "does not answer";
    case ECONNRESET:
    case EPIPE:
      return "closed by the station";
    default:
      return std::generic_category().message(error);
  }
}

}  // namespace hark::ctl
