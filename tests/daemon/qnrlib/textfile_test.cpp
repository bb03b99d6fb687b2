// Small text files: read whole or not at all, cut into lines of a limited length, and replaced whole or not
// at all, whatever stands under the name of the file.
#include "daemon/qnrlib/textfile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "base/fd.h"
#include "base/scratch_folder.h"

namespace hark {
namespace {

using namespace std::string_literals;

class TextFile : public ::testing::Test {
 protected:
  ScratchFolder folder_;
};

TEST_F(TextFile, IsReadWholeWhateverItsBytes) {
  std::string all_bytes;
  for (int byte = 0; byte < 256; ++byte)
    all_bytes += static_cast<char>(byte);
  for (const std::string& content :
       {""s, "a"s, "a\n"s, "\n"s, "\0"s, "a\0b\nc\r\n"s, all_bytes, std::string(16383, 'x'),
        std::string(16384, 'x'), std::string(16385, 'x'), std::string(1'000'000, '\0') + "end"}) {
    SCOPED_TRACE(content.size());
    EXPECT_TRUE(read_text_file(folder_.Write("file", content)) == content);
  }
}

TEST_F(TextFile, EndlessFileIsNotRead) {
  const std::string path = folder_.Write("file", "content");
  std::filesystem::resize_file(path, 16U << 20);
  EXPECT_TRUE(read_text_file(path).has_value());
  std::filesystem::resize_file(path, 17U << 20);
  EXPECT_FALSE(read_text_file(path).has_value());
}

TEST_F(TextFile, IsReadThroughALink) {
  folder_.Write("file", "content");
  std::filesystem::create_symlink(folder_.File("file"), folder_.File("link"));
  EXPECT_EQ(read_text_file(folder_.File("link")), "content");
}

TEST_F(TextFile, WhatIsNoFileIsNotReadAsAnEmptyOne) {
  folder_.Write("file", "content");
  std::filesystem::create_directory(folder_.File("folder"));
  std::filesystem::create_symlink(folder_.File("nowhere"), folder_.File("dangling"));
  std::filesystem::create_symlink(folder_.File("loop"), folder_.File("loop"));
  for (const std::string& path :
       {""s, folder_.File("missing"), folder_.File("no/such/folder"), folder_.File("folder"), folder_.path(),
        folder_.File("file/inside"), folder_.File("dangling"), folder_.File("loop"), "/dev/null"s,
        "/dev/zero"s, folder_.File(std::string(300, 'x'))}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(read_text_file(path), std::nullopt);
  }
}

TEST_F(TextFile, ThatVanishedIsNotRead) {
  const std::string path = folder_.Write("file", "content");
  EXPECT_EQ(read_text_file(path), "content");
  folder_.Remove("file");
  EXPECT_EQ(read_text_file(path), std::nullopt);
}

TEST_F(TextFile, PipeIsNotReadAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo(folder_.File("pipe").c_str(), 0600), 0);
  const auto read = [this] {
    ::alarm(5);  // a reader that waits for a writer is ended
    ::_exit(read_text_file(folder_.File("pipe")) ? 1 : 0);
  };
  EXPECT_EXIT(read(), ::testing::ExitedWithCode(0), "");
}

TEST_F(TextFile, ReadingLeavesNoDescriptorOpen) {
  std::filesystem::create_directory(folder_.File("folder"));
  folder_.Write("file", "content");
  const UniqueFd before(::dup(0));
  ASSERT_TRUE(before.is_open());
  for (const char* name : {"file", "folder", "missing"})
    (void)read_text_file(folder_.File(name));
  (void)replace_text_file(folder_.File("file"), "x");
  (void)replace_text_file(folder_.File("no/file"), "x");
  const UniqueFd after(::dup(0));
  EXPECT_EQ(after.get(), before.get() + 1);
}

TEST_F(TextFile, IsReplacedWholeAndNoOtherIsLeft) {
  for (const std::string& content : {"a\n"s, ""s, "a\0b\r\n"s, std::string(100'000, 'x')}) {
    SCOPED_TRACE(content.size());
    folder_.Write("file~", std::string(200'000, '~'));
    EXPECT_TRUE(replace_text_file(folder_.File("file"), content));
    EXPECT_TRUE(folder_.Read("file") == content);
    EXPECT_TRUE(folder_.Has("file"));
    EXPECT_FALSE(folder_.Has("file~"));
  }
}

TEST_F(TextFile, ReaderOfTheOldFileSeesItToItsEnd) {
  const UniqueFile reader = open_file(folder_.Write("file", "old content"), "r");
  ASSERT_TRUE(replace_text_file(folder_.File("file"), "new"));
  std::array<char, 32> line{};
  EXPECT_STREQ(std::fgets(line.data(), line.size(), reader.get()), "old content");
}

TEST_F(TextFile, ThatCannotBeCreatedStaysAsItWas) {
  folder_.Write("file", "old");
  EXPECT_FALSE(replace_text_file(folder_.File("no/file"), "new"));
  EXPECT_FALSE(replace_text_file(folder_.File("file/inside"), "new"));
  EXPECT_FALSE(replace_text_file(folder_.File(std::string(255, 'x')), "new"));
  std::filesystem::create_directory(folder_.File("file~"));
  EXPECT_FALSE(replace_text_file(folder_.File("file"), "new"));
  EXPECT_EQ(folder_.Read("file"), "old");
}

// While it lives no file grows beyond `bytes`, as on a disk that is full.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : signal_before_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
    const rlimit now{bytes, before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &now), 0);
  }
  ~FileSizeLimit() {
    (void)::setrlimit(RLIMIT_FSIZE, &before_);
    (void)std::signal(SIGXFSZ, signal_before_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*signal_before_)(int);
  rlimit before_{};
};

TEST_F(TextFile, OnAFullDiskStaysAsItWas) {
  folder_.Write("file", "old");
  for (const std::size_t size : {std::size_t{101}, std::size_t{100'000}}) {
    SCOPED_TRACE(size);
    bool replaced = true;
    {
      const FileSizeLimit limit(100);
      replaced = replace_text_file(folder_.File("file"), std::string(size, 'x'));
    }
    EXPECT_FALSE(replaced);
    EXPECT_EQ(folder_.Read("file"), "old");
  }
}

TEST_F(TextFile, FolderIsNotReplaced) {
  std::filesystem::create_directories(folder_.File("file/inside"));
  EXPECT_FALSE(replace_text_file(folder_.File("file"), "new"));
  EXPECT_TRUE(std::filesystem::is_directory(folder_.File("file/inside")));
}

TEST_F(TextFile, PipeInTheWayIsNotWaitedFor) {
  folder_.Write("file", "old");
  ASSERT_EQ(::mkfifo(folder_.File("file~").c_str(), 0600), 0);
  const auto write = [this] {
    ::alarm(5);  // a writer that waits for a reader is ended
    (void)replace_text_file(folder_.File("file"), "new");
    ::_exit(0);
  };
  EXPECT_EXIT(write(), ::testing::ExitedWithCode(0), "");
}

using Lines = std::vector<std::string>;

Lines AllLines(std::string_view text, std::size_t longest) {
  Lines all;
  TextLines lines(text, longest);
  while (const std::optional<std::string_view> line = lines.next())
    all.emplace_back(*line);
  EXPECT_EQ(lines.next(), std::nullopt) << "the end stays the end";
  EXPECT_EQ(lines.position(), text.size());
  return all;
}

TEST(TextLines, AreCutAtTheirEndsAndAtTheLongest) {
  struct Row {
    std::string text;
    std::size_t longest;
    Lines want;
  };
  for (const Row& row :
       {Row{"", 5, {}}, Row{"\n", 5, {"\n"}}, Row{"\n\n", 5, {"\n", "\n"}}, Row{"a", 5, {"a"}},
        Row{"a\n", 5, {"a\n"}}, Row{"a\r\nb\n", 5, {"a\r\n", "b\n"}}, Row{"a\nb", 5, {"a\n", "b"}},
        Row{"abcd\n", 5, {"abcd\n"}}, Row{"abcde\n", 5, {"abcde\n"}}, Row{"abcde", 5, {"abcde"}},
        Row{"abcdef\n", 5, {"abcde", "f\n"}}, Row{"abcdefghij\n", 5, {"abcde", "fghij\n"}},
        Row{"abcdefghijk", 5, {"abcde", "fghij", "k"}}, Row{"ab\n", 1, {"a", "b\n"}},
        Row{"a\0b\nc"s, 5, {"a\0b\n"s, "c"}}, Row{"a\rb\n", 5, {"a\rb\n"}}}) {
    SCOPED_TRACE(::testing::PrintToString(row.text));
    EXPECT_EQ(AllLines(row.text, row.longest), row.want);
  }
}

TEST(TextLines, PlaceCanBeKeptAndGoneBackTo) {
  TextLines lines("one\ntwo\nthree", 10);
  EXPECT_EQ(lines.position(), 0u);
  EXPECT_EQ(lines.next(), "one\n");
  const std::size_t two = lines.position();
  EXPECT_EQ(two, 4u);
  EXPECT_EQ(lines.next(), "two\n");
  EXPECT_EQ(lines.next(), "three");
  EXPECT_EQ(lines.next(), std::nullopt);
  lines.seek(two);
  EXPECT_EQ(lines.next(), "two\n");
  lines.seek(100);
  EXPECT_EQ(lines.next(), std::nullopt);
}

TEST(TextLines, PutTogetherAreTheText) {
  std::mt19937 random(34);  // the same cases on every run
  for (int i = 0; i < 5000; ++i) {
    std::string text;
    for (unsigned n = random() % 60; n > 0; --n)
      text += "ab\r\n\n\0"s[random() % 6];
    const std::size_t longest = random() % 9 + 1;
    SCOPED_TRACE(::testing::PrintToString(text) + " " + std::to_string(longest));
    std::string joined;
    for (const std::string& line : AllLines(text, longest)) {
      ASSERT_LE(line.size(), longest + (line.back() == '\n' ? 1 : 0));
      ASSERT_TRUE(line.find('\n') >= line.size() - 1);
      joined += line;
    }
    ASSERT_TRUE(joined == text);
  }
}

TEST(WithoutLineEnd, LineEndsAtItsFirstCrOrLf) {
  struct Row {
    std::string line;
    std::string want;
  };
  for (const Row& row : {Row{"a\n", "a"}, Row{"a\r\n", "a"}, Row{"a\r", "a"}, Row{"a", "a"}, Row{"", ""},
                         Row{"\n", ""}, Row{"\r\n", ""}, Row{"a\n\r", "a"}, Row{"a \n", "a "},
                         Row{"\ta\n", "\ta"}, Row{"a\rb\n", "a"}, Row{"a\0b\n"s, "a\0b"s}}) {
    SCOPED_TRACE(::testing::PrintToString(row.line));
    EXPECT_EQ(without_line_end(row.line), row.want);
  }
}

}  // namespace
}  // namespace hark
