// Panels that attach over the control port: the forms of ATTACH, who is told of them, and the file that lists
// them for other programs.
#include "system/station_fixture.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class Panels : public StationTest {
 protected:
  void SetUp() override {
    Start();
    client = Connect();
  }
  [[nodiscard]] std::string UiList() const { return station.root().read("var/run/uilist"); }
  // A line of the list for a panel on that connection.
  static std::string Listed(const Client& panel, const std::string& keys,
                            const std::string& host = "127.0.0.1") {
    return "HARKUI KEYS:\"" + keys + "\" RADDR:\"" + host + ":" + std::to_string(port_of(panel.fd())) +
           "\"\n";
  }
  static std::string Told(const std::string& verb, const std::string& id, const Client& panel,
                          const std::string& keys, const std::string& host = "127.0.0.1") {
    return verb + " HARKUI#" + id + ".FP KEYS:\"" + keys + "\" RADDR:\"" + host + ":" +
           std::to_string(port_of(panel.fd())) + "\"";
  }

  Client client;
};

TEST_F(Panels, GoodRangesOfKeysAttach) {
  struct Row {
    const char* line;
    const char* keys;
  };
  for (const Row& row : {
           Row{"ATTACH HARKUI#p KEYS:\"1-20\"", "1-20"},
           Row{"ATTACH HARKUI#p KEYS:\"5\"", "1-90"},  // a single number: all keys
           Row{"ATTACH HARKUI#p KEYS:\"500\"", "1-90"},
           Row{"ATTACH HARKUI#p KEYS:", "1-90"},
           Row{"ATTACH HARKUI#p KEYS:\"-4\"", "1-90"},
           Row{"ATTACH HARKUI#p KEYS:\"7-7\"", "7-7"},
           Row{"ATTACH HARKUI#p KEYS:\"1-90\"", "1-90"},
           Row{"ATTACH HARKUI#p KEYS:\"0x10-0x1F\"", "16-31"},
           Row{"attach harkui#p.FP keys=3-4", "3-4"},
           Row{"ATTACH HARKUI#p AANS:1 KEYS 11-12", "11-12"},
       }) {
    SCOPED_TRACE(row.line);
    EXPECT_THAT(replies(client, row.line), ElementsAre());
    EXPECT_EQ(UiList(), Listed(client, row.keys));
  }
}

// Its own removal was once sent to the socket that had just been closed, and logged as a failed send.
TEST_F(Panels, OneThatSubscribedToPanelsLeavesWithoutAWordInTheLog) {
  ASSERT_TRUE(client.send_line("SUB HARKUI"));
  EXPECT_THAT(replies(client, "ATTACH HARKUI#p KEYS:\"1-5\""), ElementsAre(Told("add", "p", client, "1-5")));
  let_it_settle(client);
  client.close();
  Client other = Connect();
  EXPECT_TRUE(wait_until([&] { return UiList().empty(); }));
  EXPECT_TRUE(other.ask("VER", kVersion));
  EXPECT_EQ(station.stderr_text().find("send"), std::string::npos);
}

TEST_F(Panels, BadRangesOfKeysDoNot) {
  for (const char* line : {
           "ATTACH HARKUI#p KEYS:\"5-4\"",
           "ATTACH HARKUI#p KEYS:\"0-4\"",
           "ATTACH HARKUI#p KEYS:\"1-91\"",
           "ATTACH HARKUI#p KEYS:\"1-\"",
           "ATTACH HARKUI#p KEYS:\"1-99999999999999999999\"",
           "ATTACH HARKUI#p KEYS:\"4294967297-4294967298\"",
           "ATTACH HARKUI#p",
           "ATTACH HARKUI#p AANS:1",
           "ATTACH HARKUI#p NOKEYS:\"1-4\"",
       }) {
    SCOPED_TRACE(line);
    EXPECT_THAT(replies(client, line), ElementsAre(kBadCommand));
    EXPECT_EQ(UiList(), "");
  }
}

TEST_F(Panels, AreToldToSubscribersAndListedForWhoAsks) {
  Client listener = Connect("127.0.0.2");
  EXPECT_THAT(replies(listener, "HARKUI"), ElementsAre());
  EXPECT_THAT(replies(client, "ATTACH HARKUI#left KEYS:\"1-20\""), ElementsAre());
  EXPECT_TRUE(listener.expect_line(Told("add", "left", client, "1-20")));
  Client other = Connect("127.0.0.3");
  EXPECT_THAT(replies(other, "ATTACH HARKUI#right KEYS:\"21-40\""), ElementsAre());
  EXPECT_TRUE(listener.expect_line(Told("add", "right", other, "21-40", "127.0.0.3")));

  EXPECT_EQ(UiList(), Listed(client, "1-20") + Listed(other, "21-40", "127.0.0.3"));
  EXPECT_THAT(replies(listener, "HARKUI"), ElementsAre(Told("add", "left", client, "1-20"),
                                                       Told("add", "right", other, "21-40", "127.0.0.3")));

  const std::string removed = Told("remove", "left", client, "1-20");
  const std::string stays = Listed(other, "21-40", "127.0.0.3");
  client.close();
  EXPECT_TRUE(listener.expect_line(removed));
  EXPECT_TRUE(wait_until([&] { return UiList() == stays; }));
}

TEST_F(Panels, OneConnectionHasOnePanelAtMost) {
  EXPECT_THAT(replies(client, "ATTACH HARKUI#a KEYS:\"1-20\""), ElementsAre());
  EXPECT_THAT(replies(client, "ATTACH HARKUI#b KEYS:\"3-4\""), ElementsAre());
  EXPECT_EQ(UiList(), Listed(client, "3-4"));
  Client listener = Connect("127.0.0.2");
  EXPECT_THAT(replies(listener, "HARKUI"), ElementsAre(Told("add", "b", client, "3-4")));
}

TEST_F(Panels, ABadAttachLeavesThePanelThatIsThere) {
  EXPECT_THAT(replies(client, "ATTACH HARKUI#a KEYS:\"1-20\""), ElementsAre());
  EXPECT_THAT(replies(client, "ATTACH HARKUI#b KEYS:\"5-4\""), ElementsAre(kBadCommand));
  EXPECT_EQ(UiList(), Listed(client, "1-20"));
}

TEST_F(Panels, LongIdsAreTaken) {
  const std::string id(1500, 'i');
  EXPECT_THAT(replies(client, "ATTACH HARKUI#" + id + " KEYS:\"1-2\""), ElementsAre());
  EXPECT_EQ(UiList(), Listed(client, "1-2"));
}

// The line that told of such a panel once came without its end, and the next text was taken for a part of it.
TEST_F(Panels, LongestIdIsToldInALineOfItsOwn) {
  Client listener = Connect("127.0.0.2");
  EXPECT_THAT(replies(listener, "HARKUI"), ElementsAre());
  EXPECT_THAT(replies(client, "ATTACH HARKUI#" + std::string(1970, 'i') + " KEYS:1"), ElementsAre());
  const Lines told = replies(listener, "#");
  ASSERT_EQ(told.size(), 1U);
  EXPECT_EQ(told[0].substr(0, 100), "add HARKUI#" + std::string(89, 'i'));
}

TEST_F(Panels, SixteenPanelsAreListed) {
  std::vector<Client> crowd;
  std::string want = Listed(client, "1-1");
  EXPECT_THAT(replies(client, "ATTACH HARKUI#0 KEYS:\"1-1\""), ElementsAre());
  for (int i = 1; i < 16; ++i) {
    const std::string host = "127.0.2." + std::to_string(i);
    const std::string keys = std::to_string(i) + "-" + std::to_string(i + 1);
    crowd.push_back(Connect(host));
    EXPECT_THAT(replies(crowd.back(), "ATTACH HARKUI#" + std::to_string(i) + " KEYS:\"" + keys + "\""),
                ElementsAre());
    want += Listed(crowd.back(), keys, host);
  }
  EXPECT_EQ(UiList(), want);
}

}  // namespace
}  // namespace hark::test
