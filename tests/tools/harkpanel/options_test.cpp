// The command line of harkpanel: what each option sets, and the one line that each bad one gives.
#include "tools/harkpanel/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace hark::panel_gateway {
namespace {

using control::HostPort;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

using Words = std::vector<std::string>;

std::string joined(const Words& words) {
  std::string line;
  for (const std::string& word : words)
    line += "[" + word + "]";
  return line;
}

// A folder for the files that options name, which is HARK_ROOT as well.
class PanelOptions : public testing::Test {
 protected:
  PanelOptions() {
    std::string name = (std::filesystem::temp_directory_path() / "harkpanel_options_XXXXXX").string();
    EXPECT_NE(::mkdtemp(name.data()), nullptr);
    folder = name;
    (void)::setenv("HARK_ROOT", folder.c_str(), 1);
  }
  ~PanelOptions() override {
    (void)::unsetenv("HARK_ROOT");
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  std::string File(const std::string& name, const std::string& content) {
    std::ofstream(folder + "/" + name, std::ios::binary) << content;
    return folder + "/" + name;
  }
  static Options Parsed(const Words& words) {
    const ParsedOptions parsed = parse_options(words);
    EXPECT_EQ(parsed.exit_status, -1) << parsed.text;
    EXPECT_EQ(parsed.text, "");
    return parsed.options;
  }
  static void ExpectBad(const Words& words, const std::string& reason) {
    SCOPED_TRACE(joined(words));
    const ParsedOptions parsed = parse_options(words);
    EXPECT_EQ(parsed.exit_status, 2);
    EXPECT_THAT(parsed.text, StartsWith("harkpanel: "));
    EXPECT_THAT(parsed.text, HasSubstr(reason));
    EXPECT_THAT(parsed.text, EndsWith("\n"));
    EXPECT_EQ(std::count(parsed.text.begin(), parsed.text.end(), '\n'), 1);
  }

  std::string folder;
};

TEST_F(PanelOptions, WithoutWordsServesLoopbackForTheStationOfThisMachine) {
  const Options options = Parsed({});
  EXPECT_EQ(options.station, (HostPort{"127.0.0.1", 4013}));
  EXPECT_EQ(options.listen, (HostPort{"127.0.0.1", 8013}));
  EXPECT_EQ(options.first_key, 1);
  EXPECT_EQ(options.last_key, 20);
  EXPECT_EQ(options.id, "web");
  EXPECT_FALSE(options.auto_answer);
  EXPECT_EQ(options.token, "");
  EXPECT_EQ(options.channel_file, folder + "/etc/Orfe/hark/harkch.conf");
  EXPECT_EQ(options.state_folder, folder + "/var/tmp");
}

TEST_F(PanelOptions, WithoutARootUsesTheSystemsOwnFolders) {
  (void)::unsetenv("HARK_ROOT");
  const Options options = Parsed({});
  EXPECT_EQ(options.channel_file, "/etc/Orfe/hark/harkch.conf");
  EXPECT_EQ(options.state_folder, "/var/tmp");
}

TEST_F(PanelOptions, ChannelFileOfAnotherMachinesStationIsNotGuessed) {
  EXPECT_EQ(Parsed({"--station", "studio-a"}).channel_file, "");
  EXPECT_EQ(Parsed({"--station", "192.0.2.7"}).channel_file, "");
  EXPECT_NE(Parsed({"--station", "localhost:4014"}).channel_file, "");
}

TEST_F(PanelOptions, TakesEveryOption) {
  const std::string token = File("token", "open sesame\n");
  const std::string channels = File("channels.conf", "");
  const Options options =
      Parsed({"--station", "studio-a:4014", "--listen", "0.0.0.0:0", "--keys", "5-90", "--id", "Desk_2-b",
              "--auto-answer", "--token", token, "--channels", channels, "--state", folder});
  EXPECT_EQ(options.station, (HostPort{"studio-a", 4014}));
  EXPECT_EQ(options.listen, (HostPort{"0.0.0.0", 0}));
  EXPECT_EQ(options.first_key, 5);
  EXPECT_EQ(options.last_key, 90);
  EXPECT_EQ(options.id, "Desk_2-b");
  EXPECT_TRUE(options.auto_answer);
  EXPECT_EQ(options.token, "open sesame");
  EXPECT_EQ(options.channel_file, channels);
  EXPECT_EQ(options.state_folder, folder);
}

TEST_F(PanelOptions, AddressesAreOfBothFamilies) {
  EXPECT_EQ(Parsed({"--listen", "[::1]:8080"}).listen, (HostPort{"::1", 8080}));
  EXPECT_EQ(Parsed({"--listen", "localhost:8080"}).listen, (HostPort{"localhost", 8080}));
  EXPECT_EQ(Parsed({"--station", "[2001:db8::1]:4013"}).station, (HostPort{"2001:db8::1", 4013}));
}

TEST_F(PanelOptions, OneKeyIsARange) {
  const Options options = Parsed({"--keys", "7-7"});
  EXPECT_EQ(options.first_key, 7);
  EXPECT_EQ(options.last_key, 7);
}

TEST_F(PanelOptions, TokenIsTheFirstLineWithoutTheBlanksAroundIt) {
  const std::pair<const char*, const char*> rows[] = {
      {"secret-12", "secret-12"},
      {"  secret-12\t\r\nsecond line\n", "secret-12"},
      {"8 bytes.\n", "8 bytes."},
  };
  for (const auto& [content, token] : rows) {
    SCOPED_TRACE(content);
    EXPECT_EQ(Parsed({"--token", File("token", content)}).token, token);
  }
  EXPECT_EQ(Parsed({"--token", File("token", std::string(256, 'x'))}).token.size(), 256U);
}

TEST_F(PanelOptions, HelpNamesEveryOptionAndIsNoError) {
  const ParsedOptions parsed = parse_options({"--help"});
  EXPECT_EQ(parsed.exit_status, 0);
  for (const char* option :
       {"--station", "--listen", "--keys", "--id", "--auto-answer", "--token", "--channels", "--state"}) {
    EXPECT_THAT(parsed.text, HasSubstr(option));
  }
}

TEST_F(PanelOptions, BadWordsGiveOneLineThatNamesThem) {
  const struct {
    Words words;
    const char* reason;
  } rows[] = {
      {{"--keys", "5"}, "--keys 5: two numbers"},
      {{"--keys", ""}, "two numbers"},
      {{"--keys", "5-"}, "--keys 5-: two numbers"},
      {{"--keys", "-5"}, "-5"},
      {{"--keys", "1-20x"}, "--keys 1-20x: two numbers"},
      {{"--keys", "1 - 20"}, "two numbers"},
      {{"--keys", "1-99999999999"}, "two numbers"},
      {{"--keys", "20-1"}, "--keys 20-1: the first is above the last"},
      {{"--keys", "0-5"}, "--keys 0-5: channels are 1 to 90"},
      {{"--keys", "1-91"}, "--keys 1-91: channels are 1 to 90"},
      {{"--id", ""}, "--id '': 1 to 32"},
      {{"--id", "two words"}, "--id 'two words'"},
      {{"--id", "p\xc3\xbclt"}, "--id"},
      {{"--id", std::string(33, 'x')}, "1 to 32"},
      {{"--id", "a/b"}, "--id 'a/b'"},
      {{"--station", ""}, "--station"},
      {{"--station", ":4013"}, "--station :4013"},
      {{"--station", "a b"}, "--station a b"},
      {{"--station", "host:0"}, "1 to 65535"},
      {{"--station", "host:65536"}, "1 to 65535"},
      {{"--station", "[::1"}, "--station [::1"},
      {{"--listen", ":8013"}, "--listen :8013"},
      {{"--listen", "127.0.0.1:65536"}, "0 to 65535"},
      {{"--listen", "127.0.0.1:"}, "--listen 127.0.0.1:"},
      {{"--listen", "studio-a:8013"}, "in numbers"},
      {{"--listen", "256.0.0.1:8013"}, "in numbers"},
      {{"--channels", "/nonexistent/harkch.conf"}, "cannot be read: No such file"},
      {{"--state", "/nonexistent"}, "--state /nonexistent: is no folder"},
      {{"--keys"}, "--keys"},
      {{"--nothing"}, "--nothing"},
      {{"left-over"}, "left-over"},
      {{"--id", "a", "--id", "b"}, "--id"},
  };
  for (const auto& row : rows)
    ExpectBad(row.words, row.reason);
}

TEST_F(PanelOptions, BadTokenFilesEachHaveTheirReason) {
  ExpectBad({"--token", folder + "/none"}, "/none: cannot be read: No such file");
  ExpectBad({"--token", folder}, "cannot be read: Is a directory");
  ExpectBad({"--token", File("empty", "")}, "empty: its first line is empty");
  ExpectBad({"--token", File("blank", " \t\nlong-enough\n")}, "its first line is empty");
  ExpectBad({"--token", File("short", "1234567\n")}, "shorter than 8");
  ExpectBad({"--token", File("padded", "   1234567   \n")}, "shorter than 8");
  ExpectBad({"--token", File("long", std::string(257, 'x'))}, "longer than 256");
  ExpectBad({"--token", File("tab", "correct\thorse")}, "cannot present");
  ExpectBad({"--token", File("latin", "correct h\xF6rse")}, "cannot present");
  ExpectBad({"--token", File("nul", std::string("correct\0horse", 13))}, "cannot present");
}

// Whoever reaches the port could talk through the station.
TEST_F(PanelOptions, ListeningBeyondLoopbackTakesAToken) {
  for (const char* address : {"0.0.0.0:8013", "192.0.2.1:8013", "[::]:8013", "[2001:db8::1]:8013"}) {
    SCOPED_TRACE(address);
    ExpectBad({"--listen", address}, "without it only loopback is served");
    const ParsedOptions with_token =
        parse_options({"--listen", address, "--token", File("token", "long enough")});
    EXPECT_EQ(with_token.exit_status, -1) << with_token.text;
  }
  for (const char* address : {"127.0.0.1:0", "127.9.9.9:80", "[::1]:8013", "localhost:8013"}) {
    SCOPED_TRACE(address);
    (void)Parsed({"--listen", address});
  }
}

}  // namespace
}  // namespace hark::panel_gateway
