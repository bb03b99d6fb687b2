#include "routing/harkqnr_gpio.h"

#include <algorithm>
#include <cstdio>
#include <list>

#include "addressing/sources.h"
#include "daemon/station/station.h"

namespace hark {

TimeUs hark_gpio_debounce_time_us = 400'000;
HarkqnrGpioHooks harkqnr_gpio_hooks;

namespace {

constexpr int kPinSpeakerMute = 1;
constexpr int kPinOnAir = 2;

// More contacts than any installation has; a flood of closures beyond it acts without debounce.
constexpr std::size_t kMaxEvents = 1024;

// A contact that closed and is being debounced.
struct GpioEvent {
  TimeUs time = 0;
  int channel = 0;
  int pin = 0;
  char reported = 'L';
  char current = 'L';
};
std::list<GpioEvent> harkqnr_gpio_event_queue;

void trace_event(const char* mark, const GpioEvent& event) {
  if (!station.dbg) return;
  (void)std::printf("harkqnr_gpio_event_queue %s %d/%d/%c\n", mark, event.channel, event.pin, event.current);
}

bool names_contact(const harkurl_info& info, const char* tag, int pin) {
  return url_tagl(info.tags, tag) == pin;
}

// Every line of the source file that names this contact acts.
void harkqnr_gpio_gpo(int ch, int pin, char c) {
  if (harkqnr_gpio_hooks.remotecommand == nullptr) return;
  for_each_source_line([&](const char* line) {
    harkurl_info info;
    if (harkurl_parse(line, &info) != HARKURL_QUILLNET) return;
    if (url_tagl(info.tags, "gpio") != long{ch} - station.harkd_qnrd_gpio_base) return;
    const char wish = c == 'L' ? kWishConnect : kWishDrop;
    if (names_contact(info, "gpiol", pin)) harkqnr_gpio_hooks.remotecommand(kListenKind, &info, wish);
    if (names_contact(info, "gpiot", pin)) harkqnr_gpio_hooks.remotecommand(kTalkKind, &info, wish);
  });
}

void own_contact(int pin, char c) {
  const bool closed = c == 'L';
  if (pin == kPinOnAir) {
    // The services are renewed for a change alone: a port that repeats its closure on each pass would
    // otherwise drop all calls on each pass.
    const bool changed = station.harkd_onair != closed;
    station.harkd_onair = closed;
    station.bonjour_txt_dirty = true;
    if (changed && station.harkd_trgl_normal != station.harkd_trgl_onair) station.sipservices_dirty = true;
  }
  if ((pin == kPinSpeakerMute || pin == kPinOnAir) && harkqnr_gpio_hooks.speaker_mute != nullptr) {
    harkqnr_gpio_hooks.speaker_mute(closed);
  }
}

void far_contact(int ch, int pin, char c) {
  const TimeUs now = clock_now();
  auto& queue = harkqnr_gpio_event_queue;
  const auto found = std::find_if(queue.begin(), queue.end(), [&](const GpioEvent& event) {
    return event.channel == ch && event.pin == pin;
  });
  if (found != queue.end()) {
    if (station.dbg) {
      (void)std::printf("harkqnr_gpio_event_queue %zu: %d/%d/%c->%c\n", queue.size(), ch, pin, found->current,
                        c);
    }
    found->current = c;
    if (c == 'L') found->time = now;
    return;
  }
  harkqnr_gpio_gpo(ch, pin, c);
  if (c != 'L' || queue.size() >= kMaxEvents) return;
  queue.push_front({now, ch, pin, c, c});
  if (station.dbg) (void)std::printf("harkqnr_gpio_event_queue %zu: %d/%d/%c\n", queue.size(), ch, pin, c);
}

}  // namespace

void harkqnr_gpio_callback(int ch, int pin, char c) {
  if (ch == station.harkd_qnrd_gpio_base) {
    own_contact(pin, c);
  } else {
    far_contact(ch, pin, c);
  }
}

void harkqnr_gpio_process_events(TimeUs now) {
  auto& queue = harkqnr_gpio_event_queue;
  for (auto event = queue.begin(); event != queue.end();) {
    if (now - event->time <= hark_gpio_debounce_time_us) {
      ++event;
    } else if (event->current == event->reported) {
      trace_event("-", *event);
      event = queue.erase(event);
    } else {
      trace_event("*", *event);
      event->time = now;
      event->reported = event->current;
      const GpioEvent due = *event;
      harkqnr_gpio_gpo(due.channel, due.pin, due.current);
      event = queue.begin();  // what it calls may change the queue; what was done is not due again
    }
  }
}

void harkqnr_gpio_clear_events() { harkqnr_gpio_event_queue.clear(); }

}  // namespace hark
