// docs/harkctl.md against a real station: each example is run as it stands there, in its order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <regex>

#include "base/text.h"
#include "system/harkctl_fixture.h"
#include "system/sip_station.h"

namespace hark::test {
namespace {

struct Block {
  std::string language;
  int line = 0;
  Lines lines;
};

// The fenced blocks of a document.
std::vector<Block> blocks_of(const std::string& path) {
  std::ifstream file(path);
  std::vector<Block> blocks;
  bool inside = false;
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    if (line.starts_with("```")) {
      inside = !inside;
      if (inside) blocks.push_back({line.substr(3), number, {}});
    } else if (inside) {
      blocks.back().lines.push_back(line);
    }
  }
  EXPECT_FALSE(inside) << "a block without an end in " << path;
  return blocks;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// Without what no two runs have in common.
std::string timeless(const std::string& line) {
  static const std::regex kUtc("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}[.][0-9]{3}Z");
  static const std::regex kClock("^[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3} ");
  return std::regex_replace(std::regex_replace(line, kUtc, "UTC"), kClock, "CLOCK ");
}

class HarkctlDoc : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_TRUE(ended_well(a.station, {"protocol unknown"}));
    EXPECT_TRUE(a.sim.refused_nothing());
  }

  // The document's station is at the usual ports of 10.0.0.2, on the host studio-a.
  [[nodiscard]] std::string ToHere(const std::string& text) const {
    // A busy machine gets more time.
    return replaced(replaced(text, "10.0.0.2", a.address()), "harkctl ", "harkctl --timeout 30 ");
  }
  [[nodiscard]] std::string ToDocument(const std::string& text) const {
    std::array<char, 256> host{};
    (void)::gethostname(host.data(), host.size() - 1);
    std::string out = replaced(text, Place(), "127.0.0.1:4013");
    out = replaced(out, "host     " + std::string(host.data()) + "\n", "host     studio-a\n");
    return replaced(out, a.address(), "10.0.0.2");
  }
  [[nodiscard]] std::string Place() const { return "127.0.0.1:" + std::to_string(a.station.ctrl_port()); }

  [[nodiscard]] std::unique_ptr<Program> Shell(const std::string& command) const {
    const std::string binary = HARKCTL_BINARY;
    const char* path = std::getenv("PATH");
    return std::make_unique<Program>(
        "bash", Words{"--norc", "-c", "exec 2>&1; " + ToHere(command)},
        Environment{{"PATH", binary.substr(0, binary.rfind('/')) + ":" + (path != nullptr ? path : "")},
                    {"HARKCTL_STATION", Place()},
                    {"HARK_ROOT", a.station.root().path()}});
  }

  // What a command writes, and its status when that is not 0.
  [[nodiscard]] Lines Run(const std::string& command) const {
    const std::unique_ptr<Program> shell = Shell(command);
    const int status = shell->WaitExit();
    Lines lines = lines_of(ToDocument(shell->Out()));
    if (status != 0) lines.push_back("[status " + std::to_string(status) + "]");
    return lines;
  }

  // A line ends 400 ms after its drop: what comes behind a drop is shown as it is then.
  void WaitForDrops(const Lines& output) {
    for (const std::string& line : output) {
      if (line.find(": drops ") == std::string::npos) continue;
      for (const char* direction : {"TALK", "LISTEN"}) {
        std::string word(direction);
        std::transform(word.begin(), word.end(), word.begin(), ascii_lower);
        if (line.find(word) == std::string::npos) continue;
        const std::string report = direction + std::string(":0");
        EXPECT_TRUE(wait_until([&] { return a.watch.was("", report); }, kSipWaitMs)) << line;
      }
    }
    a.watch.forget();
  }

  void RunCommands(const Block& block) {
    for (auto line = block.lines.begin(); line != block.lines.end();) {
      ASSERT_TRUE(line->starts_with("$ ")) << *line;
      const std::string command = line->substr(2);
      const auto next = std::find_if(++line, block.lines.end(),
                                     [](const std::string& text) { return text.starts_with("$ "); });
      const Lines output = Run(command);
      EXPECT_EQ(output, Lines(line, next)) << command;
      WaitForDrops(output);
      line = next;
    }
  }

  // One watch, and what is done elsewhere while it runs.
  void RunWatch(const Block& block) const {
    ASSERT_TRUE(block.lines.front().starts_with("$ "));
    const std::unique_ptr<Program> watch = Shell("exec " + block.lines.front().substr(2));
    Lines wanted;
    const auto told = [&] {
      Lines lines = lines_of(ToDocument(watch->Out()));
      for (std::string& line : lines)
        line = timeless(line);
      return lines;
    };
    for (auto line = block.lines.begin() + 1; line != block.lines.end(); ++line) {
      if (!line->starts_with("# ")) {
        wanted.push_back(timeless(*line));
        ASSERT_TRUE(wait_until([&] { return told().size() >= wanted.size(); }, 30'000)) << *line;
      } else {
        EXPECT_THAT(Run(line->substr(2)), testing::Not(testing::IsEmpty()));
      }
    }
    EXPECT_EQ(told(), wanted);
    watch->Signal(SIGINT);
    EXPECT_EQ(watch->WaitExit(), 0);
  }

  SipStation a{0, "Studio A"};
};

TEST_F(HarkctlDoc, ExamplesRunAsTheyStandThere) {
  int run = 0;
  for (const Block& block : blocks_of(HARK_SOURCE_DIR "/docs/harkctl.md")) {
    SCOPED_TRACE("docs/harkctl.md:" + std::to_string(block.line));
    if (block.language == "sources") {
      a.station.write_sources(block.lines.at(0) + "\n" + block.lines.at(1) + "\n");
      ASSERT_TRUE(a.start());
    } else if (block.language == "harkctl") {
      RunCommands(block);
    } else {
      ASSERT_EQ(block.language, "watch");
      RunWatch(block);
    }
    ++run;
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(run, 5);
}

}  // namespace
}  // namespace hark::test
