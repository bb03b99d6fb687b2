// What the document of discovery shows of two stations on a network comes out so: their table file, their
// log, and what a browser on a third machine says.
#include <cctype>
#include <sstream>
#include <string>
#include <utility>

#include "docs/document.h"
#include "system/net/discovery_fixture.h"

namespace hark::test {
namespace {

constexpr char kLogParams[] = "etc/Orfe/EngConf/SyslogServerParams.cfg";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// A time in the log is never the same.
std::string without_times(std::string text) {
  for (std::size_t end = text.find("ms)"); end != std::string::npos; end = text.find("ms)", end + 1)) {
    while (end > 0 && std::isdigit(static_cast<unsigned char>(text[end - 1])) != 0)
      text.erase(--end, 1);
  }
  return text;
}

class DiscoveryDocument : public DiscoveryTest {
 protected:
  // A block of the document, with the port and addresses that the station of this run has.
  [[nodiscard]] std::string Block(std::string_view name) const {
    std::string text = block_text(document_.text, name);
    text = replaced(std::move(text), "studio-a.", a.host.name() + ".");
    text = replaced(std::move(text), "10.0.0.2", a.host.address());
    return replaced(std::move(text), "4013", std::to_string(a.station.ctrl_port()));
  }
  // The lines of the log that the document shows, in their order and each once.
  [[nodiscard]] testing::AssertionResult Logged(const NetStation& station) const {
    const std::string log = without_times(station.station.stderr_text());
    std::istringstream lines(without_times(Block("log")));
    std::size_t at = 0;
    for (std::string line; std::getline(lines, line);) {
      at = log.find("]: " + line + "\n", at);
      if (at == std::string::npos)
        return testing::AssertionFailure() << "not logged: " << line << "\n" << log;
    }
    return testing::AssertionSuccess();
  }

  const Document document_ = read_document("docs/discovery.md");
  NetStation a{net, 2};
  NetStation b{net, 3};
  Desk desk;
};

TEST_F(DiscoveryDocument, ShowsWhatTwoStationsSayOfEachOther) {
  b.station.root().write(kLogParams, "SyslogServer_SeverityLevel 6\n");
  a.station.write_settings("HARK LABL:\"Studio A\"\n");
  b.station.write_settings("HARK LABL:\"Studio B\"\n");
  ASSERT_TRUE(b.host.start_discovery());
  ASSERT_TRUE(b.start());
  ASSERT_TRUE(b.give_source());
  ASSERT_TRUE(b.logged("mdns reconnected"));
  Boot(a, desk);
  EXPECT_TRUE(b.wait_entry("Studio A", Block("table")));
  const std::string shown = Block("browse");
  std::string browsed;
  EXPECT_TRUE(wait_until([&] {
    browsed = watcher.output_of({"avahi-browse", "-rt", "_hark._tcp"});
    return browsed == shown;
  })) << browsed;
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.logged("rmv Studio A"));
  EXPECT_TRUE(Logged(b));
  EXPECT_TRUE(b.station.ends_clean());
}

TEST_F(DiscoveryDocument, TellsThatAPanelMakesAStationAnnounceItself) {
  const Witness witness(watcher);
  a.station.write_settings("HARK LABL:\"Studio A\"\n");
  ASSERT_TRUE(a.host.start_discovery());
  ASSERT_TRUE(a.start());
  ASSERT_TRUE(a.give_source());
  ASSERT_TRUE(a.logged("mdns reconnected"));
  // A station that comes now is seen, and the one that has no panel still is not.
  const Program other = watcher.publish({.name = "other"});
  ASSERT_TRUE(a.wait_entry("other", "other <hark:10.77.0.200>\n\tharkd 4013\n"));
  EXPECT_THAT(witness.names(), testing::ElementsAre("other"));
  ASSERT_TRUE(desk.attach(a));
  EXPECT_TRUE(witness.wait_there("Studio A"));
  ASSERT_TRUE(desk.send("QUIT"));
  EXPECT_TRUE(witness.wait_gone("Studio A"));
  EXPECT_TRUE(a.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
