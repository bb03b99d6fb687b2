// A label to its URL and back: which line of a file answers, and what of it is handed out.
#include "addressing/HarkResolv.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

#include "resolver_files.h"

namespace hark {
namespace {

class HarkResolvFile : public ResolverFiles {};

TEST_F(HarkResolvFile, LabelFindsTheLineOfThatDisplayName) {
  Sources(
      "#Bob <hark:10.0.0.99>\n"
      "\n"
      "Bobby <hark:10.0.0.1>\n"
      "\"Ann\" <hark:10.0.0.2>;trgl=4;label=x\n"
      "Studio A <sip:bob@10.0.0.3>\r\n"
      "\"Studio  B\"   hark:10.0.0.4\n"
      "Name<hark:10.0.0.5>\n"
      "\"\" <hark:10.0.0.6>\n"
      "Ann <hark:10.0.0.7>\n"
      "Last <quillnet:239.192.0.1>;gpio=1");
  struct Row {
    const char* label;
    const char* want;
  };
  for (const Row& row :
       {Row{"Bobby", "Bobby <hark:10.0.0.1>"}, Row{"Ann", "\"Ann\" <hark:10.0.0.2>;trgl=4;label=x"},
        Row{"Studio A", "Studio A <sip:bob@10.0.0.3>"}, Row{"Studio  B", "\"Studio  B\"   hark:10.0.0.4"},
        // Without a blank in front of "<" a name is one character short.
        Row{"Nam", "Name<hark:10.0.0.5>"}, Row{"Last", "Last <quillnet:239.192.0.1>;gpio=1"},
        // And what matches nothing.
        Row{"Bob", "-"}, Row{"Bobbyx", "-"}, Row{"bobby", "-"}, Row{"ANN", "-"}, Row{"Name", "-"},
        Row{"Studio", "-"}, Row{"Studio A ", "-"}, Row{" Ann", "-"}, Row{"\"Ann\"", "-"}, Row{"#Bob", "-"},
        Row{"hark:10.0.0.1", "-"}, Row{"Bobby <hark:10.0.0.1>", "-"}, Row{"", "-"}, Row{nullptr, "-"}}) {
    SCOPED_TRACE(row.label ? row.label : "null");
    EXPECT_EQ(UrlOf(row.label), row.want);
  }
}

TEST_F(HarkResolvFile, LabelOfTheWrongCaseDoesNotMatch) {
  Sources("Bob <hark:10.0.0.1>\n");
  EXPECT_EQ(UrlOf("bob"), "-");
  EXPECT_EQ(UrlOf("BOB"), "-");
}

TEST_F(HarkResolvFile, LabelBobIsNotBobby) {
  Sources("Bobby <hark:10.0.0.1>\n");
  EXPECT_EQ(UrlOf("Bob"), "-");
  Sources("Bob <hark:10.0.0.1>\n");
  EXPECT_EQ(UrlOf("Bobby"), "-");
}

TEST_F(HarkResolvFile, UrlFindsTheLineOfThatAddress) {
  Sources(
      "#None <hark:10.0.0.99>\n"
      "One <hark:10.0.0.1>;trgl=1\n"
      "Two <sip:hark-talk@10.0.0.1>\n"
      "Three <sip:bob@10.0.0.3:5060>\n"
      "Four <*hark:10.0.0.4>\n"
      "Five <quillnet:239.192.0.5>;gpio=5\n"
      "Six <phone:06>\n"
      "Seven <hark:10.0.0.1>\n"
      "\"Eight\" hark:10.0.0.8\n"
      "Nine <hark:10.0.0.9:5062>\n");
  struct Row {
    const char* url;
    const char* want;
  };
  for (const Row& row :
       {Row{"hark:10.0.0.1", "One"}, Row{"\"Other\" <hark:10.0.0.1>;trgl=7", "One"},
        Row{"sip:hark-talk@10.0.0.1", "Two"}, Row{"sip:hark-talk@10.0.0.1:5062;trgl=3", "Two"},
        Row{"sip:bob@10.0.0.3", "Three"}, Row{"sip:bob@10.0.0.3:5999", "Three"},
        Row{"*hark:10.0.0.4", "Four"}, Row{"quillnet:239.192.0.5", "Five"}, Row{"phone:06", "Six"},
        Row{"hark:10.0.0.8", "Eight"}, Row{"hark:10.0.0.9:5062", "Nine"},
        // And what matches nothing.
        Row{"hark:10.0.0.4", "-"}, Row{"hark:10.0.0.99", "-"}, Row{"*hark:10.0.0.1", "-"},
        Row{"sip:hark-listen@10.0.0.1", "-"}, Row{"hark:10.0.0", "-"}, Row{"hark:10.0.0.11", "-"},
        Row{"HARK:10.0.0.1", "-"}, Row{"10.0.0.1", "-"}, Row{"hark:10.0.0.9", "-"},
        Row{"sip:alice@10.0.0.3", "-"}, Row{"One", "-"}, Row{"", "-"}, Row{nullptr, "-"}}) {
    SCOPED_TRACE(row.url ? row.url : "null");
    EXPECT_EQ(LabelOf(row.url), row.want);
  }
}

TEST_F(HarkResolvFile, SipPortPlaysNoPartOfAUrlKey) {
  Sources("Bob <sip:hark-talk@10.0.0.1>\n");
  EXPECT_EQ(LabelOf("sip:hark-talk@10.0.0.1:5062;trgl=3"), "Bob");
}

TEST_F(HarkResolvFile, PrefixCountsInAUrlKey) {
  Sources("Bob <sip:hark-talk@10.0.0.1>\n");
  EXPECT_EQ(LabelOf("hark:10.0.0.1"), "-");
}

TEST_F(HarkResolvFile, FoundStationFillsEveryField) {
  Sources(
      "\"Studio A\" <hark:10.1.2.3>;trgl=3\n\talt Main\n\tharkd 4013\n\trtpa 239.192.0.9\nB <hark:1>\n\talt "
      "x\n");
  for (const int kind : {kResolveLabel, kResolveUrl}) {
    SCOPED_TRACE(kind);
    Query query;
    EXPECT_EQ(query.Run(kind, kind == kResolveLabel ? "Studio A" : "hark:10.1.2.3"), 0);
    EXPECT_STREQ(query.label.data(), "Studio A");
    EXPECT_STREQ(query.url.data(), "\"Studio A\" <hark:10.1.2.3>;trgl=3");
    EXPECT_STREQ(query.alt.data(), "Main");
    EXPECT_EQ(query.info.rtpa, inet_addr("239.192.0.9"));
    EXPECT_EQ(query.info.trgl, 2);
    EXPECT_EQ(query.info.addr, query.url.data() + 12);
    EXPECT_EQ(query.addr(), "hark:10.1.2.3");
  }
}

TEST_F(HarkResolvFile, AddressPointsIntoTheUrlAndLeavesTheSipPortOut) {
  Sources("Bob <sip:bob@1.2.3.4:5060>;trgl=1\nAnn <hark:10.0.0.1:99>\n");
  Query sip;
  ASSERT_EQ(sip.Run(kResolveUrl, "sip:bob@1.2.3.4"), 0);
  EXPECT_EQ(sip.info.addr, sip.url.data() + 5);
  EXPECT_EQ(sip.addr(), "sip:bob@1.2.3.4");
  Query hark;
  ASSERT_EQ(hark.Run(kResolveLabel, "Ann"), 0);
  EXPECT_EQ(hark.addr(), "hark:10.0.0.1:99");
}

TEST_F(HarkResolvFile, LevelIsTheTagMinusOne) {
  Sources("A <hark:1>;trgl=1\nB <hark:2>\nC <hark:3>;trgl=0\nD <hark:4>;label=x;trgl=0x10\n");
  struct Row {
    const char* label;
    int want;
  };
  for (const Row& row : {Row{"A", 0}, Row{"B", -1}, Row{"C", -1}, Row{"D", 15}}) {
    SCOPED_TRACE(row.label);
    Query query;
    ASSERT_EQ(query.Run(kResolveLabel, row.label), 0);
    EXPECT_EQ(query.info.trgl, row.want);
  }
}

TEST_F(HarkResolvFile, LevelBeyondEveryNumberHidesNoStation) {
  const std::string digits(25, '9');
  Sources("A <hark:1>;trgl=" + digits + "\nB <hark:2>;trgl=-" + digits + "\nC <hark:3>;trgl=x\n");
  for (const char* label : {"A", "B", "C"})
    EXPECT_NE(UrlOf(label), "-") << label;
}

TEST_F(HarkResolvFile, NothingIsWantedAndTheStationIsFoundAllTheSame) {
  Sources("Bob <hark:10.0.0.1>;trgl=2" + std::string(60, 'x') + "\n\trtpa 239.192.0.3\n");
  HarkResolvInfo info;
  EXPECT_EQ(HarkResolv2(kResolveLabel, "Bob", info), 0);
  EXPECT_EQ(info.trgl, 1);
  EXPECT_EQ(info.rtpa, inet_addr("239.192.0.3"));
  EXPECT_EQ(info.addr, nullptr);
  EXPECT_EQ(HarkResolv2(kResolveLabel, "Eve", info), -1);
}

TEST_F(HarkResolvFile, DetailsEndAtTheFirstLineWithoutATab) {
  struct Row {
    const char* details;
    const char* alt;
    const char* rtpa;
  };
  for (const Row& row :
       {Row{"\talt Main\n\trtpa 239.192.0.1\n", "Main", "239.192.0.1"},
        Row{"\trtpa 239.192.0.1\r\n\talt Main\r\n", "Main", "239.192.0.1"},
        Row{"\talt Main", "Main", "0.0.0.0"}, Row{"\talt Main hall 7\n", "Main hall ", "0.0.0.0"},
        Row{"\talt 1234567890\n", "1234567890", "0.0.0.0"},
        Row{"\talt 12345678901\n", "1234567890", "0.0.0.0"},
        Row{"\tdomain x.\n\t\n\tharkd 1\n\talt Main\n", "Main", "0.0.0.0"},
        Row{"\talt one\n\talt two\n", "two", "0.0.0.0"},
        // And what is no detail of this station.
        Row{"", "", "0.0.0.0"}, Row{"\n\talt Main\n", "", "0.0.0.0"},
        Row{"# remark\n\talt Main\n", "", "0.0.0.0"},
        Row{"Ann <hark:2>\n\talt Main\n\trtpa 239.192.0.1\n", "", "0.0.0.0"},
        Row{" alt Main\n", "", "0.0.0.0"}, Row{"\tALT Main\n", "", "0.0.0.0"},
        Row{"\t alt Main\n", "", "0.0.0.0"}, Row{"\talt\n\trtpa\n", "", "0.0.0.0"},
        Row{"\taltMain\n\trtpa239.192.0.1\n", "", "0.0.0.0"}}) {
    SCOPED_TRACE(row.details);
    Sources(std::string("Bob <hark:10.0.0.1>\n") + row.details);
    Query query;
    ASSERT_EQ(query.Run(kResolveLabel, "Bob"), 0);
    EXPECT_STREQ(query.alt.data(), row.alt);
    EXPECT_EQ(query.info.rtpa, inet_addr(row.rtpa));
  }
}

TEST_F(HarkResolvFile, UnreadableAddressOfAudioHasAllBits) {
  Sources("Bob <hark:10.0.0.1>\n\trtpa nothing\n");
  Query query;
  ASSERT_EQ(query.Run(kResolveLabel, "Bob"), 0);
  EXPECT_EQ(query.info.rtpa, INADDR_NONE);
}

TEST_F(HarkResolvFile, DetailsInFrontOfTheFirstStationAreNobodys) {
  Sources("\talt Nobody\n\trtpa 239.192.0.1\nBob <hark:10.0.0.1>\n");
  Query query;
  ASSERT_EQ(query.Run(kResolveLabel, "Bob"), 0);
  EXPECT_STREQ(query.alt.data(), "");
  EXPECT_EQ(query.info.rtpa, 0u);
}

TEST_F(HarkResolvFile, LineLongerThanTheUrlBufferIsNotHandedOut) {
  const std::string long_line = "Bob <hark:10.0.0.1>;x=" + std::string(100 - 22, 'x');
  ASSERT_EQ(long_line.size(), 100u);
  Sources(long_line + "\n");
  EXPECT_EQ(UrlOf("Bob"), "-");
  EXPECT_EQ(LabelOf("hark:10.0.0.1"), "-");
}

TEST_F(HarkResolvFile, LineFitsWithItsNulOrNotAtAll) {
  const std::string fits = "Bob <hark:10.0.0.1>;x=" + std::string(80 - 22, 'x');
  Sources(fits + "\n");
  EXPECT_EQ(UrlOf("Bob"), fits);
  Sources(fits + "y\n");
  EXPECT_EQ(UrlOf("Bob"), "-");
}

TEST_F(HarkResolvFile, SearchEndsAtALineThatDoesNotFit) {
  Sources("Bob <hark:10.0.0.1>;x=" + std::string(78, 'x') + "\nBob <hark:10.0.0.2>\n");
  EXPECT_EQ(UrlOf("Bob"), "-");
}

TEST_F(HarkResolvFile, LabelFitsWithItsNulOrTheStationIsNotFound) {
  Sources("\"1234567890\" <hark:1>\n\"12345678901\" <hark:2>\nhark:4\n");
  EXPECT_EQ(LabelOf("hark:1"), "1234567890");
  EXPECT_EQ(LabelOf("hark:2"), "-");
  EXPECT_EQ(LabelOf("hark:4"), "") << "a line without a name leaves the buffer alone";
  EXPECT_EQ(UrlOf("12345678901"), "\"12345678901\" <hark:2>") << "the label is not wanted here";
}

TEST_F(HarkResolvFile, NameInFrontOfABracketThatBeginsTheLineFitsNoBuffer) {
  Sources("<hark:3>\n");
  EXPECT_EQ(LabelOf("hark:3"), "-");
  HarkResolvInfo unnamed;
  EXPECT_EQ(HarkResolv2(kResolveUrl, "hark:3", unnamed), 0) << "the label is not wanted here";
}

TEST_F(HarkResolvFile, BuffersAreNeverOverrun) {
  Sources("\"Bob\" <hark:10.0.0.1>\n\talt 1234567890\n");
  for (const std::size_t size : {1u, 2u, 3u, 4u, 5u, 10u, 11u, 22u, 23u}) {
    SCOPED_TRACE(size);
    const auto buffer = std::make_unique<char[]>(size);  // exact, so that a sanitizer sees its end
    HarkResolvInfo label;
    label.label = {buffer.get(), size};
    EXPECT_EQ(HarkResolv2(kResolveLabel, "Bob", label), size > 3 ? 0 : -1);
    HarkResolvInfo url;
    url.url = {buffer.get(), size};
    EXPECT_EQ(HarkResolv2(kResolveLabel, "Bob", url), size > 21 ? 0 : -1);
    HarkResolvInfo alt;
    alt.alt = {buffer.get(), size};
    EXPECT_EQ(HarkResolv2(kResolveLabel, "Bob", alt), 0);
    EXPECT_EQ(std::string(buffer.get()), std::string("1234567890").substr(0, size - 1));
  }
}

TEST_F(HarkResolvFile, AlternateTextHasTenCharactersInALargerBufferToo) {
  Sources("Bob <hark:10.0.0.1>\n\talt 12345678901\n");
  std::array<char, 40> alt{};
  HarkResolvInfo info;
  info.alt = alt;
  EXPECT_EQ(HarkResolv2(kResolveLabel, "Bob", info), 0);
  EXPECT_STREQ(alt.data(), "1234567890");
}

TEST_F(HarkResolvFile, LongLineIsReadAsTwo) {
  const std::string tail = "Bob <hark:10.0.0.1>";
  Sources("Ann <hark:10.0.0.2>;x=" + std::string(127 - 22, 'x') + tail + "\n");
  EXPECT_EQ(UrlOf("Bob"), tail);
  Sources("# " + std::string(125, 'x') + tail + "\n");
  EXPECT_EQ(UrlOf("Bob"), tail) << "a remark too";
}

}  // namespace
}  // namespace hark
