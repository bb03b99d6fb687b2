#include "addressing/dnssd/bounded_wait.h"

#include <dbus/dbus.h>

#include <algorithm>

namespace hark {
namespace {

constexpr int kLongestWaitMs = 1000;
constexpr TimeUs kPauseUs = 5'000'000;

TimeUs g_ran_out = 0;  // when a wait last ran out; 0: none has

// What is left of a wait that began at `start`, in milliseconds.
int left_ms(TimeUs start) {
  return kLongestWaitMs -
         static_cast<int>(std::min<TimeUs>((clock_now() - start) / kUsPerMs, kLongestWaitMs));
}

// Sends all that waits. False when the bus does not take it in time.
bool flush(DBusConnection* connection, TimeUs start) {
  while (dbus_connection_has_messages_to_send(connection) != 0) {
    const int left = left_ms(start);
    if (left <= 0) return false;
    if (dbus_connection_read_write(connection, left) == 0) break;  // lost: the wait for the answer tells
  }
  return true;
}

DBusMessage* fail(DBusError* error, const char* name, const char* text) {
  dbus_set_error_const(error, name, text);
  return nullptr;
}

// The answer, or null with `error` set.
DBusMessage* wait_for(DBusConnection* connection, DBusPendingCall* pending, DBusError* error) {
  const TimeUs start = clock_now();
  // libdbus's wait sends what is not sent yet, and that without a limit: a bus that accepts a connection and
  // then says nothing is not even logged in to.
  if (!flush(connection, start)) {
    dbus_pending_call_cancel(pending);
    g_ran_out = clock_now();
    return fail(error, DBUS_ERROR_NO_REPLY, "the bus takes nothing");
  }
  dbus_pending_call_block(pending);
  if (left_ms(start) <= 0) g_ran_out = clock_now();
  DBusMessage* reply = dbus_pending_call_steal_reply(pending);
  if (reply == nullptr) return fail(error, DBUS_ERROR_NO_REPLY, "no reply");
  if (dbus_set_error_from_message(error, reply) == 0) return reply;
  dbus_message_unref(reply);
  return nullptr;
}

}  // namespace

bool daemon_hangs() { return g_ran_out != 0 && clock_now() - g_ran_out < kPauseUs; }

}  // namespace hark

extern "C" DBusMessage* dbus_connection_send_with_reply_and_block(DBusConnection* connection,
                                                                  DBusMessage* message,
                                                                  int /*timeout_milliseconds*/,
                                                                  DBusError* error) {
  DBusPendingCall* pending = nullptr;
  if (dbus_connection_send_with_reply(connection, message, &pending, hark::kLongestWaitMs) == 0)
    return hark::fail(error, DBUS_ERROR_NO_MEMORY, "no memory");
  if (pending == nullptr) return hark::fail(error, DBUS_ERROR_DISCONNECTED, "the connection is closed");
  DBusMessage* reply = hark::wait_for(connection, pending, error);
  dbus_pending_call_unref(pending);
  return reply;
}
