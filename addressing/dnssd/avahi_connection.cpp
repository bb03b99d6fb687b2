#include "addressing/dnssd/avahi_connection.h"

#include <avahi-common/error.h>

#include <algorithm>
#include <utility>

#include "addressing/dnssd/bounded_wait.h"
#include "base/clock.h"

namespace hark {
namespace {

// Of one reference's replies: each may cost the caller a request of its own to the daemon.
constexpr TimeUs kLongestRoundUs = 20'000;

bool means_lost(int error) {
  return error == AVAHI_ERR_NO_DAEMON || error == AVAHI_ERR_DISCONNECTED || error == AVAHI_ERR_DBUS_ERROR ||
         error == AVAHI_ERR_TIMEOUT;
}

DNSServiceErrorType dnssd_error(int error) {
  switch (error) {
    case AVAHI_OK:
      return kDNSServiceErr_NoError;
    case AVAHI_ERR_NO_MEMORY:
      return kDNSServiceErr_NoMemory;
    case AVAHI_ERR_COLLISION:
      return kDNSServiceErr_NameConflict;
    case AVAHI_ERR_NOT_SUPPORTED:
      return kDNSServiceErr_Unsupported;
    case AVAHI_ERR_BAD_STATE:
      return kDNSServiceErr_BadState;
    case AVAHI_ERR_INVALID_FLAGS:
      return kDNSServiceErr_BadFlags;
    case AVAHI_ERR_INVALID_INTERFACE:
      return kDNSServiceErr_BadInterfaceIndex;
    case AVAHI_ERR_TOO_MANY_OBJECTS:
    case AVAHI_ERR_TOO_MANY_CLIENTS:
    case AVAHI_ERR_TOO_MANY_ENTRIES:
    case AVAHI_ERR_ACCESS_DENIED:
      return kDNSServiceErr_Refused;
    case AVAHI_ERR_INVALID_HOST_NAME:
    case AVAHI_ERR_INVALID_DOMAIN_NAME:
    case AVAHI_ERR_INVALID_SERVICE_NAME:
    case AVAHI_ERR_INVALID_SERVICE_TYPE:
    case AVAHI_ERR_INVALID_PORT:
    case AVAHI_ERR_INVALID_ARGUMENT:
      return kDNSServiceErr_BadParam;
    default:
      return means_lost(error) ? kDnssdServiceNotRunning : kDNSServiceErr_Unknown;
  }
}

}  // namespace

std::shared_ptr<AvahiConnection> AvahiConnection::get() {
  static std::weak_ptr<AvahiConnection> current;
  std::shared_ptr<AvahiConnection> connection = current.lock();
  // While the main loop waits for its next start nobody runs it: what came meanwhile may be that it is lost.
  if (connection) connection->run();
  if (connection && !connection->is_lost()) return connection;
  if (daemon_hangs()) return nullptr;
  connection = std::make_shared<AvahiConnection>();
  if (connection->client() == nullptr) return nullptr;
  current = connection;
  return connection;
}

AvahiConnection::AvahiConnection() {
  busy_ = true;
  int error = 0;
  AvahiClient* client =
      loop_.is_usable() ? avahi_client_new(loop_.api(), AvahiClientFlags{}, on_state, this, &error) : nullptr;
  // Its first callback has set it already; on failure it is gone again.
  client_ = client;
  busy_ = false;
  if (client_ == nullptr) lost_ = true;
  settle();
}

AvahiConnection::~AvahiConnection() {
  if (client_ != nullptr) avahi_client_free(client_);
}

bool AvahiConnection::is_running() const {
  return client() != nullptr && avahi_client_get_state(client_) == AVAHI_CLIENT_S_RUNNING;
}

void AvahiConnection::run() {
  if (busy_) return;
  if (!lost_) {
    busy_ = true;
    loop_.run();
    busy_ = false;
  }
  settle();
}

void AvahiConnection::on_state(AvahiClient* client, AvahiClientState state, void* self) {
  auto& connection = *static_cast<AvahiConnection*>(self);
  connection.client_ = client;
  if (state == AVAHI_CLIENT_FAILURE) {
    connection.lose();
    return;
  }
  // While the host's own records are made, or made anew under another name, a service has nothing to point
  // at.
  const bool ready = state == AVAHI_CLIENT_S_RUNNING;
  for (AvahiRef* ref : connection.refs_)
    ref->host_ready(ready);
}

DNSServiceErrorType AvahiConnection::take_error() {
  const int error = client() != nullptr ? avahi_client_errno(client_) : AVAHI_ERR_DISCONNECTED;
  if (means_lost(error)) lose();
  return dnssd_error(error);
}

void AvahiConnection::lose() {
  lost_ = true;
  if (loop_.is_usable()) loop_.set_wake(true);
  settle();
}

void AvahiConnection::settle() {
  if (!lost_ || busy_ || client_ == nullptr) return;
  busy_ = true;
  // Ends the bus connection first, so that nothing is asked of a daemon that does not answer.
  avahi_client_free(std::exchange(client_, nullptr));
  busy_ = false;
}

void AvahiConnection::count_waiting(int change) {
  waiting_ += change;
  loop_.set_wake(lost_ || waiting_ > 0);
}

void ReplyQueue::push(std::function<void()> reply) {
  if (!connection_) return;
  replies_.push_back(std::move(reply));
  connection_->count_waiting(1);
}

void ReplyQueue::deliver() {
  // What is left keeps the descriptor readable. After a loss nothing is worth asking further.
  const TimeUs end = clock_now() + kLongestRoundUs;
  while (!replies_.empty() && !connection_->is_lost() && clock_now() < end) {
    const std::function<void()> reply = std::move(replies_.front());
    replies_.pop_front();
    connection_->count_waiting(-1);
    reply();
  }
}

void ReplyQueue::close() {
  if (!connection_) return;
  connection_->count_waiting(-static_cast<int>(replies_.size()));
  replies_.clear();
  connection_.reset();
}

AvahiRef::AvahiRef(std::shared_ptr<AvahiConnection> connection)
    : connection_(std::move(connection)), queue_(std::make_shared<ReplyQueue>(connection_)) {
  connection_->add(*this);
}

AvahiRef::~AvahiRef() {
  queue_->close();
  connection_->remove(*this);
}

}  // namespace hark
