// The system bus between the library and the DNS-SD daemon dies, hangs, is mute or talks rubbish.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <memory>

#include "addressing/dnssd/lost_fixture.h"

namespace hark::test {
namespace {

class BusLost : public LostTest {};

TEST_F(BusLost, IsToldToEveryReferenceWhenItIsKilled) {
  StartDaemon();
  const int before = count_descriptors();
  OpenAll();
  here.kill_bus();
  ExpectAllLost();
  ExpectAllRefused();
  here.kill_avahi();
  ASSERT_TRUE(here.start_discovery());
  ExpectWorks();
  ExpectNothingTold();
  EndAll();
  EXPECT_EQ(count_descriptors(), before);
}

TEST_F(BusLost, HoldsUpOneCallOnlyWhenItHangs) {
  StartDaemon();
  OpenAll();
  here.pause_bus();
  Asked more;
  EXPECT_LT(seconds_of([&] { EXPECT_EQ(more.browse(), kDnssdServiceNotRunning); }), kLongestCall);
  ExpectAllRefused();
  ExpectAllLost();
  EXPECT_LT(seconds_of([&] { EndAll(); }), kAtOnce);
  here.resume_bus();
  ExpectWorks();
  ExpectNothingTold();
}

TEST_F(BusLost, HoldsUpNoProcessingWhenItHangs) {
  StartDaemon();
  OpenAll();
  here.pause_bus();
  const double seconds = seconds_of([&] {
    for (int i = 0; i < 100; ++i) {
      for (Asked* asked : All())
        EXPECT_EQ(asked->process(), kDNSServiceErr_NoError);
    }
  });
  EXPECT_LT(seconds, kAtOnce);
  here.resume_bus();
  Asked more;
  ASSERT_EQ(more.announce({.name = "Again"}), 0);
  EXPECT_TRUE(wait_until([&] { return browse.events("Again") == "+"; }));
}

TEST_F(BusLost, EndsAHundredReferencesInBoundedTimeWhenItHangs) {
  StartDaemon();
  std::vector<std::unique_ptr<Asked>> all;
  for (int i = 0; i < 100; ++i) {
    all.push_back(std::make_unique<Asked>());
    ASSERT_EQ(all.back()->browse(), 0);
  }
  here.pause_bus();
  EXPECT_LT(seconds_of([&] { all.clear(); }), 2 + kAtOnce) << "of all together";
  here.resume_bus();
  ExpectWorks();
}

TEST_F(BusLost, IsRefusedFromTheFirstCallOnWhenItHangs) {
  StartDaemon();
  here.pause_bus();
  const int before = count_descriptors();
  ExpectAllRefused();
  EXPECT_EQ(count_descriptors(), before);
  here.resume_bus();
  ExpectWorks();
}

// A process that stands where the bus does; it lets everybody in, and says the text to them.
class OtherBus {
 public:
  OtherBus(const std::string& path, std::string text)
      : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un at{};
    at.sun_family = AF_UNIX;
    path.copy(std::begin(at.sun_path), sizeof at.sun_path - 1);
    listens_ = ::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) == 0 &&
               ::listen(listener_.get(), 10) == 0;
    program_ = Program({}, "/dev/null", [this, text = std::move(text)] {
      for (;;) {
        const int guest = ::accept(listener_.get(), nullptr, nullptr);
        if (!text.empty()) (void)!::write(guest, text.data(), text.size());
      }
    });
    listener_.reset();
  }
  [[nodiscard]] bool listens() const { return listens_; }

 private:
  UniqueFd listener_;
  bool listens_ = false;
  Program program_;
};

TEST_F(BusLost, IsRefusedInBoundedTimeWhenItIsMute) {
  StartDaemon();
  const std::string path = here.run_file("mute");
  const OtherBus mute(path, "");
  ASSERT_TRUE(mute.listens());
  UseBus(path);
  const int before = count_descriptors();
  ExpectAllRefused();
  EXPECT_EQ(count_descriptors(), before);
  UseOwnBus();
  ExpectWorks();
}

TEST_F(BusLost, IsRefusedInBoundedTimeWhenItTalksRubbish) {
  StartDaemon();
  int number = 0;
  for (const std::string text : {"rubbish\r\n", "REJECTED EXTERNAL\r\n", "OK 0123\r\n"}) {
    SCOPED_TRACE(text);
    const std::string path = here.run_file("other" + std::to_string(++number));
    const OtherBus other(path, text);
    ASSERT_TRUE(other.listens());
    UseBus(path);
    const int before = count_descriptors();
    ExpectAllRefused();
    EXPECT_EQ(count_descriptors(), before);
    UseOwnBus();
    ExpectWorks(("Again" + std::to_string(number)).c_str());
  }
}

}  // namespace
}  // namespace hark::test
