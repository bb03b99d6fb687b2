// The TXT record: its bytes as this station announces them, and what is taken from those of others.
#include <arpa/inet.h>
#include <gmock/gmock.h>

#include <algorithm>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string Made(std::string_view alt, int level, const char* rtpa) {
  std::array<unsigned char, kTxtSize> out;
  out.fill(0xEE);
  const std::size_t length = make_txt(alt, level, ::inet_addr(rtpa), out);
  EXPECT_LE(length, kTxtSize);
  return {reinterpret_cast<const char*>(out.data()), length};
}

// What a record tells an entry that knew `before`; the record stands in memory of exactly its size.
harkresolvtable_entry Taken(const std::string& txt, harkresolvtable_entry before = {}) {
  const std::vector<unsigned char> bytes(txt.begin(), txt.end());
  take_txt(bytes, before);
  return before;
}

// "alt trgl rtpa" of an entry.
std::string Told(const harkresolvtable_entry& entry) {
  char address[INET_ADDRSTRLEN];
  (void)::inet_ntop(AF_INET, &entry.rtpa, address, sizeof address);
  return entry.alt + " " + std::to_string(entry.trgl) + " " + address;
}
std::string Told(const Texts& items) { return Told(Taken(TxtOf(items))); }

harkresolvtable_entry Before() {
  harkresolvtable_entry entry;
  entry.alt = "Old";
  entry.trgl = 9;
  entry.rtpa = ::inet_addr("10.9.9.9");
  return entry;
}

const std::string kAlt = "ALT=Main";
const std::string kTrgl = "TRGL=\x04";
const std::string kRtpa = std::string("RTPA=") + std::string("\x0a\x00\x00\x01", 4);

using namespace std::string_literals;

TEST(BonjourTxtMade, HasTheseBytes) {
  struct Row {
    const char* alt;
    int level;
    const char* rtpa;
    std::string bytes;
  };
  const Row rows[] = {
      {"", 0, "0.0.0.0", ""s},
      {"Main", 0, "0.0.0.0",
       "\x08"
       "ALT=Main"s},
      {"", 3, "0.0.0.0",
       "\x06"
       "TRGL=\x04"s},
      {"", 0, "239.192.0.7",
       "\x09"
       "RTPA=\xef\xc0\x00\x07"s},
      {"Main", 3, "239.192.0.7",
       "\x08"
       "ALT=Main"
       "\x06"
       "TRGL=\x04"
       "\x09"
       "RTPA=\xef\xc0\x00\x07"s},
      {"Main", 0, "10.0.0.0",
       "\x08"
       "ALT=Main"
       "\x09"
       "RTPA=\x0a\x00\x00\x00"s},
      {"", 1, "0.0.0.1",
       "\x06"
       "TRGL=\x02"
       "\x09"
       "RTPA=\x00\x00\x00\x01"s},
      {"", 254, "255.255.255.255",
       "\x06"
       "TRGL=\xff"
       "\x09"
       "RTPA=\xff\xff\xff\xff"s},
      {"a=b", 0, "0.0.0.0",
       "\x07"
       "ALT=a=b"s},
      {"M\xc3\xbcller", 0, "0.0.0.0",
       "\x0b"
       "ALT=M\xc3\xbcller"s},
      {"%s%n", 0, "0.0.0.0",
       "\x08"
       "ALT=%s%n"s},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.alt) + " " + std::to_string(row.level) + " " + row.rtpa);
    EXPECT_EQ(Made(row.alt, row.level, row.rtpa), row.bytes);
  }
}

TEST(BonjourTxtMade, EveryLengthOfAltHasItsLengthByte) {
  EXPECT_EQ(Made("", 0, "0.0.0.0"), "");
  for (int length = 1; length <= 10; ++length) {
    const std::string alt(static_cast<std::size_t>(length), 'x');
    EXPECT_EQ(Made(alt, 0, "0.0.0.0"), std::string(1, static_cast<char>(length + 4)) + "ALT=" + alt);
  }
}

TEST(BonjourTxtMade, EveryLevelIsOneByteMoreThanItself) {
  EXPECT_EQ(Made("", 0, "0.0.0.0"), "") << "level 0 is not told";
  for (int level = 1; level <= 254; ++level)
    EXPECT_EQ(Made("", level, "0.0.0.0"), std::string("\x06TRGL=") + static_cast<char>(level + 1)) << level;
}

TEST(BonjourTxtMade, IsTakenAsItWasMade) {
  for (int level = 0; level <= 254; ++level) {
    for (const char* rtpa : {"0.0.0.0", "239.192.1.0", "10.0.0.0", "0.0.10.0", "255.255.255.255"}) {
      const std::string alt(static_cast<std::size_t>(level % 11), 'y');
      EXPECT_EQ(Told(Taken(Made(alt, level, rtpa))),
                alt + " " + std::to_string(level == 0 ? 0 : level + 1) + " " + rtpa);
    }
  }
}

TEST(BonjourTxtMade, AltThatNoItemCanHoldIsCutAndTheRestStands) {
  for (const std::size_t length : {251u, 252u, 300u, 5000u}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(Told(Taken(Made(std::string(length, 'x'), 3, "10.0.0.1"))),
              std::string(251, 'x') + " 4 10.0.0.1");
  }
}

TEST(BonjourTxtTaken, ItemsInEveryOrderWithUnknownOnesAmongThem) {
  Texts items = {kAlt, kTrgl, kRtpa, "vers=1", ""};
  std::sort(items.begin(), items.end());
  int orders = 0;
  do {
    EXPECT_EQ(Told(items), "Main 4 10.0.0.1") << ++orders;
  } while (std::next_permutation(items.begin(), items.end()));
}

TEST(BonjourTxtTaken, Rows) {
  struct Row {
    Texts items;
    const char* told;  // of an entry that knew "Old 9 10.9.9.9"
  };
  const Row rows[] = {
      {{}, "Old 9 10.9.9.9"},
      {{""}, "Old 9 10.9.9.9"},
      {{"", "", kAlt}, "Main 9 10.9.9.9"},
      {{kAlt}, "Main 9 10.9.9.9"},
      {{kTrgl}, "Old 4 10.9.9.9"},
      {{kRtpa}, "Old 9 10.0.0.1"},
      {{"ALT="}, " 9 10.9.9.9"},
      {{"ALT=a=b;c"}, "a=b;c 9 10.9.9.9"},
      {{"ALT=longer than ten characters"}, "longer than ten characters 9 10.9.9.9"},
      {{"ALT=a", "ALT=b"}, "b 9 10.9.9.9"},
      {{"TRGL=\x04", "TRGL=\x05"}, "Old 5 10.9.9.9"},
      {{"RTPA=aaaa", kRtpa}, "Old 9 10.0.0.1"},
      {{"TRGL=\0"s}, "Old 0 10.9.9.9"},
      {{"TRGL=\xff"}, "Old 255 10.9.9.9"},
      {{"RTPA=\0\0\0\0"s}, "Old 9 0.0.0.0"},
      {{"RTPA=\0\xff\0\x01"s}, "Old 9 0.255.0.1"},
      {{"TRGL:\x04"}, "Old 4 10.9.9.9"},
      // Not of their lengths.
      {{"TRGL="}, "Old 9 10.9.9.9"},
      {{"TRGL=\x04\x05"}, "Old 9 10.9.9.9"},
      {{"TRGL"}, "Old 9 10.9.9.9"},
      {{"TRGL=\x04\x05", kAlt}, "Main 9 10.9.9.9"},
      {{"RTPA="}, "Old 9 10.9.9.9"},
      {{"RTPA=\x0a\x01\x02"}, "Old 9 10.9.9.9"},
      {{"RTPA=\x0a\x01\x02\x03\x04"}, "Old 9 10.9.9.9"},
      {{"RTPA"}, "Old 9 10.9.9.9"},
      // Others.
      {{"ALT"}, "Old 9 10.9.9.9"},
      {{"A"}, "Old 9 10.9.9.9"},
      {{"=x"}, "Old 9 10.9.9.9"},
      {{"ALTX=x"}, "Old 9 10.9.9.9"},
      {{"XALT=x"}, "Old 9 10.9.9.9"},
      {{" ALT=x"}, "Old 9 10.9.9.9"},
      {{std::string(255, 'x'), kAlt}, "Main 9 10.9.9.9"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(::testing::PrintToString(row.items));
    EXPECT_EQ(Told(Taken(TxtOf(row.items), Before())), row.told);
  }
}

TEST(BonjourTxtTaken, BadLengthEndsTheRecordAndWhatStoodBeforeCounts) {
  const std::string good = TxtOf({kAlt});
  EXPECT_EQ(Told(Taken(good + "\x07TRGL=\x04", Before())), "Main 9 10.9.9.9") << "one byte short";
  EXPECT_EQ(Told(Taken(good + "\xff" + TxtOf({kTrgl, kRtpa}), Before())), "Main 9 10.9.9.9");
  EXPECT_EQ(Told(Taken(good + "\x01", Before())), "Main 9 10.9.9.9");
  EXPECT_EQ(Told(Taken("\x09"
                       "ALT=Main",
                       Before())),
            "Old 9 10.9.9.9");
}

TEST(BonjourTxtTaken, CutAnywhereTellsItsWholeItemsOnly) {
  const std::string whole = TxtOf({kAlt, kTrgl, kRtpa});
  const std::size_t alt_end = 1 + kAlt.size();
  const std::size_t trgl_end = alt_end + 1 + kTrgl.size();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    const std::string told = std::string(length >= alt_end ? "Main" : "Old") +
                             (length >= trgl_end ? " 4 " : " 9 ") +
                             (length == whole.size() ? "10.0.0.1" : "10.9.9.9");
    EXPECT_EQ(Told(Taken(whole.substr(0, length), Before())), told);
  }
}

class BonjourTxt : public Bonjour {};

TEST_F(BonjourTxt, SetBeforeTheFirstRegistrationIsUsedByIt) {
  scripted_dnssd.Start();
  EXPECT_EQ(harkbonjour_set_TXT("Main", 3, ::inet_addr("239.192.0.7")), 0);
  EXPECT_THAT(Calls(), ElementsAre()) << "there is nothing to update yet";
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), 0);
  EXPECT_THAT(Calls(), Contains(HasSubstr(" txt=08414c543d4d61696e"
                                          "065452474c3d04"
                                          "09525450413defc00007 -> #1")));
}

TEST_F(BonjourTxt, SetWithARegistrationUpdatesItsDefaultRecord) {
  Start(0, "Studio A");
  EXPECT_EQ(harkbonjour_set_TXT("Main", 0, 0), 0);
  EXPECT_EQ(harkbonjour_set_TXT("", 1, 0), 0);
  EXPECT_EQ(harkbonjour_set_TXT("", 0, 0), 0);
  EXPECT_THAT(Calls(), ElementsAre("update #1 record=default txt=08414c543d4d61696e ttl=0 -> 0",
                                   "update #1 record=default txt=065452474c3d02 ttl=0 -> 0",
                                   "update #1 record=default txt= ttl=0 -> 0"));
}

TEST_F(BonjourTxt, LastRecordSetIsUsedByEachLaterRegistration) {
  Start(0, "Studio A");
  (void)harkbonjour_set_TXT("Something", 3, 1);
  (void)harkbonjour_set_TXT("A", 0, 0);
  (void)Calls();
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio B"), 0);
  EXPECT_THAT(Calls(), Contains(HasSubstr(" txt=05414c543d41 ->")));
  harkbonjour_cleanup();
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio C"), 0);
  EXPECT_THAT(Calls(), Contains(HasSubstr(" txt=05414c543d41 ->")));
}

TEST_F(BonjourTxt, IsZeroWhateverTheUpdateGives) {
  Start(0, "Studio A");
  scripted_dnssd.SetUpdateResult(kDNSServiceErr_BadParam);
  EXPECT_EQ(harkbonjour_set_TXT("Main", 3, 0), 0);
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kRegister), 1);
  harkbonjour_cleanup();
  EXPECT_EQ(harkbonjour_set_TXT("Main", 3, 0), 0);
}

TEST_F(BonjourTxt, IsTakenOverByTheEntryAndWrittenToTheFile) {
  Start();
  Found("Ann");
  Resolved("Ann", "ann.local.", TxtOf({kAlt, kTrgl, kRtpa}));
  EXPECT_EQ(Told(*Entry("Ann")), "Main 4 10.0.0.1");
  EXPECT_EQ(File(), "Ann <>;trgl=4\n\talt Main\n\tharkd 4013\n\trtpa 10.0.0.1\n");
  Resolved("Ann", "ann.local.", TxtOf({"ALT=a\nb"}));
  EXPECT_EQ(Told(*Entry("Ann")), "a\nb 4 10.0.0.1") << "memory holds what was told";
  EXPECT_THAT(File(), HasSubstr("\talt a?b\n"));
}

}  // namespace
}  // namespace hark
