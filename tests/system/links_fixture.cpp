#include "system/links_fixture.h"

#include <algorithm>

namespace hark::test {
namespace {

using testing::ElementsAre;

}  // namespace

std::string ifb_url(const FarDeviceSim& device, int dst, const std::string& password) {
  return "quillnet:239." + std::to_string(device.port() >> 8) + "." + std::to_string(device.port() & 0xFF) +
         "." + std::to_string(dst) + ";ifb=" + device.url(dst, password);
}

std::string call_line(const std::string& url, const std::string& what) {
  return "CALL URL:\"" + url + "\" " + what;
}

std::string set_line(int dst, const std::string& addr) {
  return "DST " + std::to_string(dst) + " ADDR:\"" + addr + "\"";
}

void Links::SetUp() {
  for (const char* daily : {" connect pending", " connected", " closed"})
    ExpectLog(daily);
  StartReadyForCalls();
  client = Connect();
  listener = Connect("127.0.0.2");
  lister_ = Connect("127.0.0.3");
  ASSERT_THAT(answers(listener, "CALL"), ElementsAre("BEGIN", "END"));
}

void Links::Call(const std::string& url, const std::string& what) {
  ASSERT_THAT(answers(client, call_line(url, what)), ElementsAre()) << url << " " << what;
}

void Links::Drop(const std::string& url) {
  Call(url, "TALK:0");
  ASSERT_TRUE(Reported(url, "TALK:0"));
}

testing::AssertionResult Links::Reported(const std::string& url, const std::string& what) {
  return listener.expect_line(call_line(url, what));
}

void Links::TalkTo(const std::string& url) {
  Call(url, "TALK:1");
  ASSERT_TRUE(Reported(url, "TALK:r"));
  ASSERT_TRUE(Reported(url, "TALK:1"));
}

void Links::TalkToAmongOthers(const std::string& url) {
  Call(url, "TALK:1");
  ASSERT_TRUE(listener.skip_to(call_line(url, "TALK:r")));
  ASSERT_TRUE(listener.skip_to(call_line(url, "TALK:1")));
}

testing::AssertionResult Links::StaysIn(const std::string& url, char state) {
  let_it_settle(client);
  const Lines reports = answers(listener, "#");
  if (!reports.empty()) return testing::AssertionFailure() << "reported: " << reports.front();
  const Lines list = Listed();
  if (std::find(list.begin(), list.end(), call_line(url, std::string("TALK:") + state)) != list.end())
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << "not " << state << " in: " << testing::PrintToString(list);
}

Lines Links::Listed() {
  Lines list = answers(lister_, "CALL");
  // Who has read the list once is told of changes as well: those come before or behind it.
  list.erase(list.begin(), std::find(list.begin(), list.end(), "BEGIN"));
  list.erase(std::find(list.begin(), list.end(), "END"), list.end());
  if (!list.empty()) list.erase(list.begin());
  return list;
}

testing::AssertionResult Links::NoCalls() {
  if (wait_until([this] { return Listed().empty(); })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "left: " << testing::PrintToString(Listed());
}

testing::AssertionResult Links::HasDescriptors(int count) const {
  if (wait_until([&] { return station.open_fds() == count; })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << station.open_fds() << " descriptors, expected " << count;
}

void Links::ServesClients() {
  Client other = Connect("127.0.0.4");
  EXPECT_TRUE(other.ask("VER", kVersion));
}

}  // namespace hark::test
