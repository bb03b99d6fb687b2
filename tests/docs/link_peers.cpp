#include "docs/link_peers.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "system/support/pump.h"

namespace hark::test {
namespace {

constexpr char kClosed[] = "[closed]";
constexpr std::string_view kChannel = "QnCH#";
// Of the source that the station of all documents has. Other tests share the group.
constexpr int kStationChannel = 77;

}  // namespace

LinkPeers::LinkPeers(const Example& example) {
  quillsim::PttOptions options{.answering = false};
  for (const Step& step : example.steps) {
    if (step.peer == Peer::kFar) (void)far();
    const std::size_t channel = step.text.find(kChannel);
    if (step.peer == Peer::kGroup && channel != std::string::npos)
      options.channels.insert(std::atoi(step.text.c_str() + channel + kChannel.size()));
  }
  if (!options.channels.empty()) group_ = std::make_unique<PttSim>(options);
}

int LinkPeers::far_port() { return far().port(); }

FarDeviceSim& LinkPeers::far() {
  if (!far_) {
    far_ = std::make_unique<FarDeviceSim>();
    (*far_)->set_answering(false);
  }
  return *far_;
}

testing::AssertionResult LinkPeers::run(const Step& step, const std::string& text) {
  const bool sends = step.action == Action::kSend;
  if (step.peer == Peer::kFar) return sends ? far_send(text) : far_expect(text);
  if (!group_) return testing::AssertionFailure() << "no channel is named in this example";
  return sends ? group_send(text) : group_expect(text);
}

testing::AssertionResult LinkPeers::far_send(const std::string& text) {
  FarDeviceSim& device = far();
  if (!wait_until([&] { return device->clients() > 0; }))
    return testing::AssertionFailure() << "the station is not connected to the foreign device";
  if (text == kClosed) {
    device->close_clients();
    return testing::AssertionSuccess();
  }
  if (device->send(text)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "could not send";
}

testing::AssertionResult LinkPeers::far_expect(const std::string& text) {
  FarDeviceSim& device = far();
  if (text == kClosed) return device.wait_clients(0);
  const std::vector<std::string>& received = device->received();
  if (!wait_until([&] { return received.size() > far_seen_; }))
    return testing::AssertionFailure() << "the foreign device gets nothing";
  const std::string& line = received[far_seen_++];
  if (line == text) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "expected " << testing::PrintToString(text)
                                     << "\nthe foreign device got " << testing::PrintToString(line);
}

std::vector<std::string> LinkPeers::requests() const {
  std::vector<std::string> texts;
  for (const quillsim::PttRequest& request : (*group_)->requests()) {
    if (request.src == kStationChannel) texts.push_back(quillsim::ptt_request_text(request));
  }
  return texts;
}

testing::AssertionResult LinkPeers::group_send(const std::string& text) {
  if ((*group_)->send(text)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "could not send to the group";
}

testing::AssertionResult LinkPeers::group_expect(const std::string& text) {
  std::vector<std::string> all;
  auto found = all.end();
  const auto look = [&] {
    all = requests();
    found = std::find(all.begin() + static_cast<std::ptrdiff_t>(group_seen_), all.end(), text);
    return found != all.end();
  };
  if (wait_until(look)) {
    group_seen_ = static_cast<std::size_t>(found - all.begin()) + 1;
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "never sent to the group; since the last one that is shown: "
                                     << testing::PrintToString(std::vector<std::string>(
                                            all.begin() + static_cast<std::ptrdiff_t>(group_seen_),
                                            all.end()));
}

testing::AssertionResult LinkPeers::shown_all() const {
  if (!far_ || (*far_)->received().size() == far_seen_) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "not shown: the foreign device got "
                                     << testing::PrintToString((*far_)->received()[far_seen_]);
}

}  // namespace hark::test
