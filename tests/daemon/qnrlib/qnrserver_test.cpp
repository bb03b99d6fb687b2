// Extensions of the server, and the settings file run as lines: what is handed to whom, and what a file with
// its comments, blank lines and foreign line ends becomes.
#include "daemon/qnrlib/qnrserver.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/scratch_folder.h"
#include "base/text.h"
#include "daemon/log/log.h"

namespace hark {
namespace {

using Lines = std::vector<std::string>;
Lines g_lines;
Lines g_asked;

void KeepLine(const char* line) { g_lines.emplace_back(line); }

// An extension that keeps what it is asked, and answers with `result`.
struct Extension : QNR_EXT {
  const char* version;
  int result;
  Extension(const char* v, int r) : version(v), result(r) {
    ver = [](QNR_EXT* ext, char* buf, std::size_t n) {
      return copy_text({buf, n}, static_cast<Extension*>(ext)->version);
    };
    input = [](QNR_EXT* ext, int client, const char* const* lines, int count) {
      auto* self = static_cast<Extension*>(ext);
      g_asked.push_back(std::string(self->version) + "/" + std::to_string(client) + "/" + lines[0] + "/" +
                        std::to_string(count));
      return self->result;
    };
  }
};

class Extensions : public ::testing::Test {
 protected:
  Extensions() { g_asked.clear(); }
  void Hang(Extension& first, Extension& second) {
    server_.exts = &first;
    first.next = &second;
  }
  QNR_SERVER server_;
};

TEST_F(Extensions, VersionTextsStandInListOrder) {
  Extension first(" NGPI:9", 0);
  Extension second(" NGPO:9", 0);
  Hang(first, second);
  std::array<char, 64> text{};
  qnr_ext_ver(&server_, text.data(), text.size());
  EXPECT_STREQ(text.data(), " NGPI:9 NGPO:9");
}

TEST_F(Extensions, WithoutOneTheVersionTextIsEmpty) {
  std::array<char, 8> text{'x', 'x', '\0'};
  qnr_ext_ver(&server_, text.data(), text.size());
  EXPECT_STREQ(text.data(), "");
}

TEST_F(Extensions, VersionTextsStayInTheirBuffer) {
  Extension first(" NGPI:9", 0);
  Extension second(" NGPO:9", 0);
  Hang(first, second);
  for (std::size_t size = 1; size < 18; ++size) {
    const auto text = std::make_unique<char[]>(size);
    qnr_ext_ver(&server_, text.get(), size);
    EXPECT_EQ(std::string(" NGPI:9 NGPO:9").substr(0, size - 1), text.get()) << size;
  }
}

TEST_F(Extensions, EachIsHandedTheLineAsAListOfOne) {
  Extension first("a", 0);
  Extension second("b", -1);
  Hang(first, second);
  EXPECT_EQ(qnr_ext_input(&server_, "GPO 1 hhhhh", 4), 0);
  EXPECT_EQ(g_asked, (Lines{"a/4/GPO 1 hhhhh/1", "b/4/GPO 1 hhhhh/1"}));
}

TEST_F(Extensions, OneThatTakesTheLineIsEnough) {
  struct Row {
    int first;
    int second;
    int want;
  };
  for (const Row& row : {Row{0, 0, 0}, Row{0, -1, 0}, Row{-1, 0, 0}, Row{5, -1, 0}, Row{-1, 7, 0},
                         Row{-1, -1, -1}, Row{-9, -2, -1}}) {
    SCOPED_TRACE(std::to_string(row.first) + " " + std::to_string(row.second));
    Extension first("a", row.first);
    Extension second("b", row.second);
    Hang(first, second);
    EXPECT_EQ(qnr_ext_input(&server_, "X", -1), row.want);
  }
  server_.exts = nullptr;
  EXPECT_EQ(qnr_ext_input(&server_, "X", -1), -1);
}

class SettingsFile : public ::testing::Test {
 protected:
  SettingsFile() { g_lines.clear(); }
  ~SettingsFile() override { tv_conf_running_changed_run = false; }
  // Runs a file with this text.
  Lines Load(const std::string& text) {
    g_lines.clear();
    qnr_conf_load(folder_.Write("conf", text), "", KeepLine);
    return g_lines;
  }
  ScratchFolder folder_;
};

TEST_F(SettingsFile, LinesRunBetweenBeginAndExe) {
  EXPECT_EQ(Load("HARK LABL:\"x\"\nSRC 1 PSNM:\"\" RTPA:\"\"\n"),
            (Lines{"BEGIN", "HARK LABL:\"x\"", "SRC 1 PSNM:\"\" RTPA:\"\"", "EXE"}));
}

TEST_F(SettingsFile, LineEndsOfAnyKindAreCutAndEmptyLinesPassedOver) {
  struct Row {
    const char* text;
    Lines want;
  };
  for (const Row& row : {Row{"", {"BEGIN", "EXE"}}, Row{"\n\n\r\n", {"BEGIN", "EXE"}},
                         Row{"A\r\nB\r\n", {"BEGIN", "A", "B", "EXE"}},
                         Row{"A\n\nB\n", {"BEGIN", "A", "B", "EXE"}}, Row{"A\nB", {"BEGIN", "A", "B", "EXE"}},
                         Row{" \n", {"BEGIN", " ", "EXE"}}, Row{"# A\n", {"BEGIN", "# A", "EXE"}}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Load(row.text), row.want);
  }
}

TEST_F(SettingsFile, LongLineRunsInPiecesOfTheLimit) {
  std::string text;
  for (int i = 0; text.size() < 3000; ++i)
    text += std::to_string(i);
  const Lines lines = Load(text + "\nB\n");
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[1] + lines[2], text);
  EXPECT_LE(lines[1].size(), kMaxLine);
  EXPECT_GE(lines[1].size(), kMaxLine - 1);
  EXPECT_EQ(lines[3], "B");
}

TEST_F(SettingsFile, MissingFileFallsBackToTheDefaultOne) {
  const std::string fallback = folder_.Write("default", "A\n");
  qnr_conf_load(folder_.File("missing"), fallback, KeepLine);
  EXPECT_EQ(g_lines, (Lines{"BEGIN", "A", "EXE"}));
}

TEST_F(SettingsFile, PresentFileIsTakenBeforeTheDefaultOne) {
  const std::string fallback = folder_.Write("default", "A\n");
  qnr_conf_load(folder_.Write("conf", "B\n"), fallback, KeepLine);
  EXPECT_EQ(g_lines, (Lines{"BEGIN", "B", "EXE"}));
}

TEST_F(SettingsFile, NoFileRunsNothingAtAll) {
  tv_conf_running_changed_run = true;
  qnr_conf_load(folder_.File("missing"), "", KeepLine);
  qnr_conf_load(folder_.File("missing"), folder_.File("missing_too"), KeepLine);
  EXPECT_EQ(g_lines, Lines{});
  EXPECT_TRUE(tv_conf_running_changed_run);
}

TEST_F(SettingsFile, WhichFileWasTakenIsLogged) {
  const std::string cfgfile =
      std::exchange(log_cfgfile, folder_.Write("log", "SyslogServer_SeverityLevel 7\n"));
  openlog("t", kLogPid | kLogStderr, kLogFacilityUser);
  const std::string fallback = folder_.Write("default", "");
  struct Row {
    std::string path;
    std::string fallback;
    const char* want;
  };
  for (const Row& row :
       {Row{fallback, "", ""}, Row{folder_.File("missing"), fallback, "using default configuration"},
        Row{folder_.File("missing"), "", "configuration file not found"}}) {
    SCOPED_TRACE(row.want);
    testing::internal::CaptureStderr();
    qnr_conf_load(row.path, row.fallback, KeepLine);
    const std::string logged = testing::internal::GetCapturedStderr();
    EXPECT_EQ(logged.empty(), *row.want == '\0') << logged;
    EXPECT_NE(logged.find(row.want), std::string::npos) << logged;
  }
  closelog();
  log_cfgfile = cfgfile;
}

TimeUs StandingClock() { return 1'234'567'890; }

TEST_F(SettingsFile, ChangeIsRememberedUntilAFileIsLoaded) {
  clock_set_source(StandingClock);
  conf_running_changed();
  EXPECT_EQ(tv_conf_running_changed, 1'234'567'890);
  EXPECT_TRUE(tv_conf_running_changed_run);
  (void)Load("");
  EXPECT_FALSE(tv_conf_running_changed_run);
  clock_set_source(nullptr);
}

TEST(SettingsPaths, StartAtTheirDefaults) {
  EXPECT_EQ(conf_qnr, "/etc/orfe/qnr.conf");
  EXPECT_EQ(conf_qnr_default, "");
}

TEST(Checksum, MakesTheSumOfAllBytesZero) {
  struct Row {
    std::vector<unsigned char> data;
    unsigned char want;
  };
  for (const Row& row : {Row{{}, 0}, Row{{0}, 0}, Row{{1}, 0xFF}, Row{{0xFF}, 1}, Row{{0x80, 0x80}, 0},
                         Row{{1, 2, 3}, 0xFA}}) {
    SCOPED_TRACE(row.data.size());
    EXPECT_EQ(CalculateChecksum(row.data), row.want);
  }
  std::mt19937 random(12);  // the same cases on every run
  for (int i = 0; i < 1000; ++i) {
    std::vector<unsigned char> data(random() % 100);
    for (unsigned char& byte : data)
      byte = static_cast<unsigned char>(random());
    data.push_back(CalculateChecksum(data));
    ASSERT_EQ(std::accumulate(data.begin(), data.end(), 0U) % 256, 0U) << i;
  }
}

}  // namespace
}  // namespace hark
