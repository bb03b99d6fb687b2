// What the view of a station shows, and which parts of that have changed since browsers were told.
#include <algorithm>
#include <utility>

#include "base/text.h"
#include "panel/HarkUIProxy.h"
#include "tools/harkpanel/station_view.h"

namespace hark::panel_gateway {

bool Parts::any() const {
  return station || auto_answer || function_keys || speaker || outputs || calls || shifts ||
         std::find(channels.begin(), channels.end(), true) != channels.end();
}

void Parts::add(const Parts& other) {
  station = station || other.station;
  auto_answer = auto_answer || other.auto_answer;
  function_keys = function_keys || other.function_keys;
  speaker = speaker || other.speaker;
  outputs = outputs || other.outputs;
  calls = calls || other.calls;
  shifts = shifts || other.shifts;
  channels.resize(std::max(channels.size(), other.channels.size()));
  for (std::size_t i = 0; i != other.channels.size(); ++i)
    channels[i] = channels[i] || other.channels[i];
}

Parts Parts::all(int channels) {
  return {.station = true,
          .auto_answer = true,
          .function_keys = true,
          .speaker = true,
          .outputs = true,
          .calls = true,
          .shifts = true,
          .channels = std::vector<bool>(static_cast<std::size_t>(std::max(channels, 0)), true)};
}

// A connection that is not there lights no lamp.
Lamp StationView::lamp_of(Signature key, std::uint32_t dfl) const {
  if (link_ != Link::kUp) return Lamp::kOff;
  switch (ui_->getindi(key)) {
    case '1':
      return Lamp::kOn;
    case 'F':
    case 'R':
    case '*':
      return Lamp::kFlash;
    case 'P':
      return Lamp::kWink;
    case '0':
    case '\0':
      return (dfl & kDflHigherLevel) != 0 ? Lamp::kWink : Lamp::kOff;
    default:
      return Lamp::kOff;
  }
}

StationView::Channel StationView::channel_of(int index, int number, Signature talk, Signature listen) const {
  const HarkUI::Record& record = ui_->record(index);
  Channel channel;
  channel.number = number;
  channel.text = field_text(record.text);
  channel.alt = field_text(record.alt);
  channel.talk = lamp_of(talk, record.dfl);
  channel.listen = lamp_of(listen, 0);
  channel.no_talk = (record.dfl & kDflNoTalk) != 0;
  channel.latched_listen = (record.dfl & kDflLatchedListen) != 0;
  return channel;
}

StationView::Channel StationView::channel(int index) const {
  const int number = first_key() + index;
  Channel channel = channel_of(index, number, mksig(kTalk00, number), mksig(kListen00, number));
  channel.level = levels_[static_cast<std::size_t>(index)];
  return channel;
}

StationView::Channel StationView::auto_answer() const { return channel_of(nkeys(), 0, kTalkAa, kListenAa); }

Lamp StationView::function_key(Signature key) const { return lamp_of(key, 0); }

StationView::Shown StationView::shown() const {
  Shown now;
  now.name = station_name();
  now.channels.reserve(levels_.size());
  for (int i = 0; i != nkeys(); ++i)
    now.channels.push_back(channel(i));
  now.auto_answer = auto_answer();
  std::transform(kFunctionKeys.begin(), kFunctionKeys.end(), now.keys.begin(),
                 [this](Signature key) { return function_key(key); });
  now.speaker = speaker_level_;
  now.talking = talking_;
  now.listening = listening_;
  return now;
}

Parts StationView::take_changes() {
  Parts changes = std::exchange(changes_, {});
  if (!std::exchange(look_again_, false)) return changes;
  Shown now = shown();
  changes.station = changes.station || now.name != told_.name;
  changes.auto_answer = now.auto_answer != told_.auto_answer;
  changes.function_keys = now.keys != told_.keys;
  changes.speaker = now.speaker != told_.speaker;
  changes.outputs = now.talking != told_.talking || now.listening != told_.listening;
  changes.channels.resize(now.channels.size());
  for (std::size_t i = 0; i != now.channels.size(); ++i)
    changes.channels[i] = now.channels[i] != told_.channels[i];
  told_ = std::move(now);
  return changes;
}

}  // namespace hark::panel_gateway
