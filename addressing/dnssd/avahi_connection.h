// The one connection of the process to the DNS-SD daemon, shared by all references, and the queues in which
// replies wait for their reference to be processed. Only this folder knows Avahi.
#pragma once

#include <avahi-client/client.h>

#include <deque>
#include <functional>
#include <list>
#include <memory>

#include "addressing/dnssd/avahi_poll.h"
#include "addressing/dnssd/dnssd.h"

namespace hark {

class AvahiRef;

class AvahiConnection {
 public:
  // The process's connection; made if there is none, or the last one is lost. Null when the daemon cannot be
  // reached.
  static std::shared_ptr<AvahiConnection> get();

  AvahiConnection();
  ~AvahiConnection();
  AvahiConnection(const AvahiConnection&) = delete;
  AvahiConnection& operator=(const AvahiConnection&) = delete;

  // Null once the connection is lost; every object that was made from it is gone then.
  [[nodiscard]] AvahiClient* client() const { return lost_ ? nullptr : client_; }
  [[nodiscard]] bool is_lost() const { return lost_; }
  [[nodiscard]] bool is_running() const;
  // Readable while there is something for run(), or a reply waits in any queue, or the connection is lost.
  [[nodiscard]] int fd() const { return loop_.fd(); }

  // Takes what the daemon sent. Replies are queued, none is handed out.
  void run();

  // The dns_sd.h code of the client's last error. One that tells that the daemon is gone, or does not answer
  // in time, loses the connection.
  DNSServiceErrorType take_error();

  void add(AvahiRef& ref) { refs_.push_back(&ref); }
  void remove(AvahiRef& ref) { refs_.remove(&ref); }
  void count_waiting(int change);

 private:
  static void on_state(AvahiClient* client, AvahiClientState state, void* self);
  void lose();
  // Ends a lost connection's client, as soon as none of its callbacks runs.
  void settle();

  AvahiPollLoop loop_;
  AvahiClient* client_ = nullptr;
  bool lost_ = false;
  bool busy_ = false;  // callbacks of the client may run
  int waiting_ = 0;    // replies in all queues
  std::list<AvahiRef*> refs_;
};

// Replies of one reference, in order. Shared, so that a callback may deallocate its own reference.
class ReplyQueue {
 public:
  explicit ReplyQueue(std::shared_ptr<AvahiConnection> connection) : connection_(std::move(connection)) {}
  ReplyQueue(const ReplyQueue&) = delete;
  ReplyQueue& operator=(const ReplyQueue&) = delete;
  ~ReplyQueue() { close(); }

  void push(std::function<void()> reply);
  // Hands out what waits, as far as one round takes it, until the queue is closed or the connection lost.
  void deliver();
  // Drops what waits.
  void close();

 private:
  std::shared_ptr<AvahiConnection> connection_;
  std::deque<std::function<void()>> replies_;
};

// What all kinds of references have in common. The library's opaque record owns one.
class AvahiRef {
 public:
  explicit AvahiRef(std::shared_ptr<AvahiConnection> connection);
  AvahiRef(const AvahiRef&) = delete;
  AvahiRef& operator=(const AvahiRef&) = delete;
  virtual ~AvahiRef();

  // Makes the daemon's object. 0 or an error code.
  [[nodiscard]] virtual DNSServiceErrorType start() = 0;
  // Told when the daemon's host name and addresses stand (again), or are about to change.
  virtual void host_ready(bool /*ready*/) {}
  // Replaces the TXT record of a registration.
  virtual DNSServiceErrorType update_txt(const void* /*txt*/, std::uint16_t /*length*/) {
    return kDNSServiceErr_BadReference;
  }

  AvahiConnection& connection() { return *connection_; }
  [[nodiscard]] std::shared_ptr<AvahiConnection> shared_connection() const { return connection_; }
  [[nodiscard]] std::shared_ptr<ReplyQueue> queue() const { return queue_; }

 protected:
  void reply(std::function<void()> what) { queue_->push(std::move(what)); }
  // Gives a daemon's object back, unless it went with its connection.
  template <typename Object>
  void give_back(Object* object, int (*free)(Object*)) {
    if (object != nullptr && connection_->client() != nullptr && free(object) < 0)
      (void)connection_->take_error();
  }

 private:
  std::shared_ptr<AvahiConnection> connection_;
  std::shared_ptr<ReplyQueue> queue_;
};

}  // namespace hark
