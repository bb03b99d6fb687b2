// The key module of a mixing console, told by its "type" lines: every row of the table of modules, what the
// file for other programs says of it, and how one module follows another.
#include <filesystem>

#include "system/station_fixture.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class Surface : public StationTest {
 protected:
  void SetUp() override {
    Start();
    client = Connect();
  }
  // Any connection may report a module.
  void Report(const std::string& type) {
    EXPECT_THAT(replies(client, "INDI Intercom type=" + type), ElementsAre());
  }
  [[nodiscard]] std::string Module() const { return station.root().read("var/run/harkui"); }
  [[nodiscard]] std::string UiList() const { return station.root().read("var/run/uilist"); }
  [[nodiscard]] std::string Listed(const std::string& keys) const {
    return "HARKUI KEYS:\"" + keys + "\" RADDR:\"" + Peer() + "\"\n";
  }
  [[nodiscard]] std::string Peer() const { return "127.0.0.1:" + std::to_string(port_of(client.fd())); }

  Client client;
};

TEST_F(Surface, EachTypeHasItsKeysAndItsFile) {
  struct Row {
    const char* type;
    const char* keys;
    const char* file;
  };
  for (const Row& row : {
           Row{"1", "1-20", "MODULETYPE=1\nNKEYS=20\nNKEYSPERROW=2\nSHIFT=1\n"},
           Row{"2", "1-10", "MODULETYPE=2\nNKEYS=10\nNKEYSPERROW=1\n"},
           Row{"3", "1-10", "MODULETYPE=3\nNKEYS=10\nNKEYSPERROW=1\nFILMCAP=1\n"},
           Row{"1", "1-20", "MODULETYPE=1\nNKEYS=20\nNKEYSPERROW=2\nSHIFT=1\n"},
       }) {
    SCOPED_TRACE(row.type);
    Report(row.type);
    EXPECT_EQ(Module(), row.file);
    EXPECT_EQ(UiList(), Listed(row.keys));
  }
}

TEST_F(Surface, ModuleThatGoesLeavesAnEmptyFile) {
  Report("2");
  Report("-1");
  EXPECT_TRUE(station.root().exists("var/run/harkui"));
  EXPECT_EQ(Module(), "");
  EXPECT_EQ(UiList(), "");
}

TEST_F(Surface, NoModuleWhereNoneWasWritesNoFile) {
  Report("-1");
  EXPECT_FALSE(station.root().exists("var/run/harkui"));
}

TEST_F(Surface, UnknownTypeIsLoggedAndHasNoKeys) {
  ExpectLog("unsupported Intercom type=9");
  Report("9");
  EXPECT_TRUE(Logged("]: unsupported Intercom type=9"));
  EXPECT_EQ(Module(), "MODULETYPE=9\n");
  EXPECT_EQ(UiList(), "");
  Report("1");
  Report("9");
  EXPECT_EQ(Module(), "MODULETYPE=9\n");
  EXPECT_EQ(UiList(), "");
}

TEST_F(Surface, TheSameTypeAgainChangesNothing) {
  Report("2");
  station.root().remove("var/run/harkui");
  station.root().remove("var/run/uilist");
  Report("2");
  EXPECT_FALSE(station.root().exists("var/run/harkui"));
  EXPECT_FALSE(station.root().exists("var/run/uilist"));
}

TEST_F(Surface, ChangesOfTheModuleAreTold) {
  Client listener = Connect("127.0.0.2");
  EXPECT_THAT(replies(listener, "SUB HARKUI"), ElementsAre());
  const auto told = [&](const std::string& verb, const std::string& keys) {
    return verb + " HARKUI#1.FP KEYS:\"" + keys + "\" RADDR:\"" + Peer() + "\"";
  };
  Report("1");
  EXPECT_TRUE(listener.expect_line(told("add", "1-20")));
  Report("2");
  EXPECT_TRUE(listener.expect_line(told("remove", "1-20")));
  EXPECT_TRUE(listener.expect_line(told("add", "1-10")));
  Report("-1");
  EXPECT_TRUE(listener.expect_line(told("remove", "1-10")));
  EXPECT_THAT(replies(listener, "#"), ElementsAre());
}

TEST_F(Surface, AModuleTakesThePlaceOfANetworkPanel) {
  EXPECT_THAT(replies(client, "ATTACH HARKUI#p KEYS:\"5-6\""), ElementsAre());
  Report("2");
  EXPECT_EQ(UiList(), Listed("1-10"));
}

TEST_F(Surface, OtherLinesOfAConsoleChangeNothing) {
  Report("2");
  const std::string file = Module();
  for (const char* line : {"INDI Intercom TYPE=1", "INDI Intercom  type=1", "EVENT Intercom talk=ON",
                           "INDI Intercomtype=1", "EVENT FaCH#3 type=1", "INDI Intercom type"}) {
    SCOPED_TRACE(line);
    EXPECT_THAT(replies(client, line), ElementsAre());
    EXPECT_EQ(Module(), file);
  }
}

TEST_F(Surface, AFileThatCannotBeWrittenIsLogged) {
  ExpectLog("Can't write ");
  std::filesystem::create_directory(station.root().file("var/run/harkui"));
  Report("2");
  EXPECT_TRUE(Logged("]: Can't write "));
  EXPECT_EQ(UiList(), Listed("1-10")) << "the module itself works";
}

}  // namespace
}  // namespace hark::test
