// Completion in a real bash: harkctl.bash is sourced, and asked as bash asks it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "system/harkctl_fixture.h"
#include "system/support/ports.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A line as bash cuts it: at blanks outside quotes, and at colons and equals signs, which are words too.
constexpr char kAsk[] = R"(
source "$1" || exit 9
COMP_LINE=$2 COMP_POINT=${#2} COMP_WORDS=("${@:3}") COMP_CWORD=$(($# - 3))
_harkctl harkctl "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
printf '%s\n' "${COMPREPLY[@]}"
)";

class HarkctlCompletion : public HarkctlTest {
 protected:
  // What bash is given for a command line behind "harkctl "; `words` is how it cuts it.
  [[nodiscard]] Lines Complete(const std::string& line, const Words& words) const {
    Words all = {"--norc",
                 "--noprofile",
                 "-c",
                 kAsk,
                 "bash",
                 HARKCTL_COMPLETION,
                 HARKCTL_BINARY + std::string(" ") + line,
                 HARKCTL_BINARY};
    all.insert(all.end(), words.begin(), words.end());
    Program bash("bash", all, Env());
    EXPECT_EQ(bash.WaitExit(), 0) << bash.Err();
    EXPECT_EQ(bash.Err(), "");
    Lines lines = lines_of(bash.Out());
    std::erase(lines, "");
    return lines;
  }
  void StartWithSources() {
    station.write_sources(
        "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4\n"
        "News <quillnet:239.192.4.210>;trgl=6\n");
    StartReadyForCalls();
  }
};

TEST_F(HarkctlCompletion, CommandsOptionsAndSettingsAreOffered) {
  EndsItself();
  const struct {
    const char* line;
    Words words;
    Lines offered;
  } kRows[] = {
      {"", {""}, {"status", "calls", "watch", "call", "drop", "gpio", "set", "panels", "health"}},
      {"ca", {"ca"}, {"calls", "call"}},
      {"--json st", {"--json", "st"}, {"status"}},
      {"--station 127.0.0.1:1 pa", {"--station", "127.0.0.1", ":", "1", "pa"}, {"panels"}},
      {"--s", {"--s"}, {"--station"}},
      {"--station ", {"--station", ""}, {}},
      {"status ", {"status", ""}, {}},
      {"call --", {"call", "--"}, {"--station", "--timeout", "--json", "--help", "--listen", "--talk"}},
      {"health --si", {"health", "--si"}, {"--sip"}},
      {"gpio ", {"gpio", ""}, {"GPI", "GPO"}},
      {"gpio GPO ", {"gpio", "GPO", ""}, {"1", "2", "3", "4", "5", "6", "7", "8", "9"}},
      {"gpio GPO 3 ", {"gpio", "GPO", "3", ""}, {}},
      {"set tr", {"set", "tr"}, {"TRGL=", "TRGLA="}},
      {"set LATCH=1 DI", {"set", "LATCH", "=", "1", "DI"}, {"DIML="}},
      {"set LATCH=", {"set", "LATCH", "="}, {}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Complete(row.line, row.words), row.offered);
  }
}

TEST_F(HarkctlCompletion, NamesAndAddressesAreOfferedAsTheShellNeedsThem) {
  StartWithSources();
  const struct {
    const char* line;
    Words words;
    Lines offered;
  } kRows[] = {
      {"call ", {"call", ""}, {"Ext\\ 1", "News", "quillnet:239.192.4.210", "quillnet:239.192.4.213"}},
      {"call Ex", {"call", "Ex"}, {"Ext\\ 1"}},
      {"call Ext\\ ", {"call", "Ext\\ "}, {"Ext\\ 1"}},
      {"call \"Ex", {"call", "\"Ex"}, {"Ext 1"}},
      {"call 'Ex", {"call", "'Ex"}, {"Ext 1"}},
      {"drop --talk N", {"drop", "--talk", "N"}, {"News"}},
      // behind the last colon, where bash puts it
      {"call quillnet:239.192.4.213", {"call", "quillnet", ":", "239.192.4.213"}, {"239.192.4.213"}},
      {"call quillnet:", {"call", "quillnet", ":"}, {"239.192.4.210", "239.192.4.213"}},
      {"call \"quillnet:239.192.4.213", {"call", "\"quillnet:239.192.4.213"}, {"quillnet:239.192.4.213"}},
      {"call News ", {"call", "News", ""}, {}},
      {"call xyz", {"call", "xyz"}, {}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Complete(row.line, row.words), row.offered);
  }
}

TEST_F(HarkctlCompletion, CallsThatAreUpAreOffered) {
  StartWithSources();
  Client client = Connect();
  EXPECT_EQ(answers(client, "CALL URL:\"Gate <quillnet:239.192.9.9>\" LISTEN:1"), Lines{});
  // A station on a busy machine may take longer than completion waits.
  EXPECT_TRUE(wait_until([&] { return Complete("drop Ga", {"drop", "Ga"}) == Lines{"Gate"}; }, 30'000));
  EXPECT_TRUE(wait_until(
      [&] {
        return Complete("drop quillnet:239.192.9", {"drop", "quillnet", ":", "239.192.9"}) ==
               Lines{"239.192.9.9"};
      },
      30'000));
}

TEST_F(HarkctlCompletion, AStationThatIsSilentCosts300ms) {
  EndsItself();
  station.write_sources("News <quillnet:239.192.4.210>;trgl=6\n");
  const SilentPort silent;
  const Environment environment = {{"HARKCTL_STATION", "127.0.0.1:" + std::to_string(silent.port())},
                                   {"HARK_ROOT", station.root().path()}};
  const Ended ended = RunHarkctl({"--timeout", "3000", "complete", "urls", "--", "N"}, environment);
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.out, "News\n");
  EXPECT_EQ(ended.err, "");
}

TEST_F(HarkctlCompletion, TheStationOfTheLineIsAsked) {
  EndsItself();
  station.write_sources("News <quillnet:239.192.4.210>;trgl=6\n");
  // The files here are not those of another machine.
  EXPECT_THAT(Complete("--station 192.0.2.1 call N", {"--station", "192.0.2.1", "call", "N"}), IsEmpty());
  EXPECT_THAT(Complete("--station=127.0.0.1 call N", {"--station", "=", "127.0.0.1", "call", "N"}),
              ElementsAre("News"));
}

}  // namespace
}  // namespace hark::test
