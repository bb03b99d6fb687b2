// Names and details that no harkd would announce: they come from the network, so they may be anything.
#include <algorithm>
#include <array>

#include "system/net/discovery_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;

class OddStations : public DiscoveryTest {
 protected:
  // A station without a panel, so that its file holds the others only.
  void SetUp() override {
    DiscoveryTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    ASSERT_TRUE(a.host.start_discovery());
    ASSERT_TRUE(a.start());
    ASSERT_TRUE(a.give_source());
  }

  NetStation a{net, 2};
};

struct NameRow {
  std::string announced;
  std::string in_file;  // empty: as announced
};

const std::string kAddress = " <hark:10.77.0.200>";

std::vector<NameRow> name_rows() {
  return {
      {"plain", ""},
      {"two words", ""},
      {" blanks around ", ""},
      {"a.b.c", ""},
      {".", ""},
      {"..", ""},
      {"a\\b", ""},
      {"back\\046slash", ""},
      {"\\", ""},
      {"ends in \\", ""},
      {"Grün 東京 ☎", ""},
      {std::string(63, 'x'), ""},
      {std::string(61, '.') + "ü", ""},
      {"a_hark._tcp.local.", ""},
      {"semi;colon;trgl=9", ""},
      {"in \"quotes\" inside", ""},
      {"hash # inside", ""},
      {"50% %s %n", ""},
      {"<hark:10.0.0.1>", "?hark:10.0.0.1>"},
      {"a <b> c", "a ?b> c"},
      {"# remark", "? remark"},
      {"\"quoted\"", "?quoted\""},
      {"tab\there", "tab?here"},
      {"\tdomain other", "?domain other"},
      {"line\nbreak", "line?break"},
      {"\x01\x1f", "??"},
  };
}

TEST_F(OddStations, HaveTheirNamesInTheFileAndGoAgain) {
  std::vector<Announced> services;
  std::vector<std::string> lines;
  for (const NameRow& row : name_rows()) {
    services.push_back({.name = row.announced, .port = 4000 + static_cast<int>(services.size())});
    lines.push_back((row.in_file.empty() ? row.announced : row.in_file) + kAddress + "\n\tharkd " +
                    std::to_string(services.back().port) + "\n");
  }
  std::vector<Program> publishers = watcher.publish_all(services);
  const auto missing = [&] {
    const std::string table = "\n" + a.table();
    std::vector<std::string> names;
    for (const std::string& line : lines) {
      if (table.find("\n" + line) == std::string::npos) names.push_back(line);
    }
    return names;
  };
  (void)wait_until([&] { return missing().empty(); });
  EXPECT_THAT(missing(), IsEmpty()) << a.table();
  EXPECT_EQ(a.found().size(), lines.size());
  publishers.clear();
  EXPECT_TRUE(wait_until([&] { return a.table().empty(); })) << a.table();
  EXPECT_TRUE(a.station.ends_clean());
}

struct TxtRow {
  const char* what;
  std::vector<std::string> txt;
  const char* tags;
  std::string details;
};

std::vector<TxtRow> txt_rows() {
  return {
      {"all",
       {"ALT=Gate", "TRGL=\x05", "RTPA=\xef\xc0\x01\x4d"},
       ";trgl=5",
       "\talt Gate\n|\trtpa 239.192.1.77\n"},
      {"order",
       {"RTPA=\xef\xc0\x01\x4d", "TRGL=\x05", "ALT=Gate"},
       ";trgl=5",
       "\talt Gate\n|\trtpa 239.192.1.77\n"},
      {"a quote", {"ALT=\"a\\b\""}, "", "\talt \"a\\b\"\n|"},
      {"utf8", {"ALT=Grün"}, "", "\talt Grün\n|"},
      {"control", {"ALT=a\nb\tc"}, "", "\talt a?b?c\n|"},
      {"long", {"ALT=" + std::string(240, 'x')}, "", "\talt " + std::string(122, 'x') + "\n|"},
      {"no text", {"ALT="}, "", "|"},
      {"no value", {"ALT", "TRGL", "RTPA"}, "", "|"},
      {"high level", {"TRGL=\xff"}, ";trgl=255", "|"},
      {"two bytes", {"TRGL=\x04\x04"}, "", "|"},
      {"no byte", {"TRGL="}, "", "|"},
      {"three bytes", {"RTPA=\xef\xc0\x01"}, "", "|"},
      {"five bytes", {"RTPA=\xef\xc0\x01\x4d\x01"}, "", "|"},
      {"other keys",
       {"ALTX=no", "XALT=no", "FOO", "=bar", "RTPA=\xef\xc0\x01\x4d"},
       "",
       "|\trtpa 239.192.1.77\n"},
  };
}

TEST_F(OddStations, HaveOnlyTheDetailsThatCanBeRead) {
  std::vector<Announced> services;
  for (const TxtRow& row : txt_rows())
    services.push_back({.name = row.what, .txt = row.txt});
  const std::vector<Program> publishers = watcher.publish_all(services);
  for (const TxtRow& row : txt_rows()) {
    SCOPED_TRACE(row.what);
    std::string details = row.details;
    details.replace(details.find('|'), 1, "\tharkd 4013\n");
    EXPECT_TRUE(a.wait_entry(row.what, row.what + kAddress + row.tags + "\n" + details));
  }
  EXPECT_TRUE(a.station.ends_clean());
}

// The system bus ends whoever gives it a text that is not UTF-8.
class OddLabels : public DiscoveryTest {
 protected:
  struct Row {
    std::string label;
    std::string announced;
  };
  // As a panel in another code page writes it, and one whose tenth byte is the first of a character.
  static std::vector<Row> Rows() {
    return {{"M\xfcnchen", "M?nchen"}, {"Studio Na\xc3\xbc", "Studio Na?"}, {"Grün", "Grün"}};
  }

  NetStation a{net, 2};
  Desk desk;
};

TEST_F(OddLabels, OfTheSettingsAreAnnouncedAsUtf8) {
  const Witness witness(watcher);
  ASSERT_TRUE(a.host.start_discovery());
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.announced);
    a.station.write_settings("HARK LABL:\"" + row.label + "\"\n");
    Desk other;
    Start(a, other);
    EXPECT_TRUE(witness.wait_there(row.announced));
    EXPECT_TRUE(a.logged("add " + row.announced + ".")) << "it hears of itself, too";
    EXPECT_TRUE(a.station.ends_clean());
    EXPECT_TRUE(witness.wait_gone(row.announced));
  }
}

TEST_F(OddLabels, AreAnnouncedAsUtf8WhenTheyAreGivenLater) {
  const Witness witness(watcher);
  Boot(a, desk);
  ASSERT_TRUE(witness.wait_there("IC 000002"));
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.announced);
    ASSERT_TRUE(desk.send("HARK LABL:\"" + row.label + "\""));
    EXPECT_TRUE(witness.wait_there(row.announced));
  }
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(OddLabels, OfKeysThatArePressedAreLookedUp) {
  const Program gate = watcher.publish({.name = "gate"});
  a.station.write_log_params("0.0.0.0", 7);
  Boot(a, desk);
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.announced);
    const std::string label = row.label.substr(0, 10);
    ASSERT_TRUE(desk.assign("KL01", row.label));
    ASSERT_TRUE(desk.wait_display("KL01", "TEXT=\"" + label + "\", ALT=\"\", DFL=0"));
    ASSERT_TRUE(desk.tap("KL01"));
    EXPECT_TRUE(a.logged("lookup " + label + "._hark._tcp.local."));
  }
  EXPECT_TRUE(a.wait_entry("gate", "gate" + kAddress + "\n\tharkd 4013\n"));
  EXPECT_EQ(a.log_count("mdns failure"), 0);
  EXPECT_TRUE(a.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
