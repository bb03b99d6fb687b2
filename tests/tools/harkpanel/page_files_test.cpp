// The page in the program: that all of its files are there, whole, each under its path and type.
#include "tools/harkpanel/page_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace hark::panel_gateway {
namespace {

using testing::StartsWith;

const std::filesystem::path kFolder = std::filesystem::path(HARK_SOURCE_DIR) / "tools/harkpanel/page";

std::string content_of(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(PageFiles, EachFileOfTheFolderIsServedByteForByte) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
    const std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    const PageFile* file = find_page_file(name == "index.html" ? "/" : "/" + name);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->bytes, content_of(entry.path()));
    ++files;
  }
  EXPECT_EQ(page_files().size(), files);
  EXPECT_GE(files, 3U);
}

TEST(PageFiles, TypesAreThoseThatABrowserInsistsOn) {
  EXPECT_EQ(find_page_file("/")->type, "text/html; charset=utf-8");
  EXPECT_EQ(find_page_file("/panel.css")->type, "text/css; charset=utf-8");
  EXPECT_EQ(find_page_file("/panel.js")->type, "text/javascript; charset=utf-8");
  for (const PageFile& file : page_files()) {
    SCOPED_TRACE(file.path);
    EXPECT_EQ(file.path.ends_with(".svg"), file.type == "image/svg+xml");
    EXPECT_EQ(file.path.ends_with(".js"), file.type == "text/javascript; charset=utf-8");
    EXPECT_NE(file.type, "application/octet-stream");
  }
}

TEST(PageFiles, PathsAreThereOnce) {
  std::set<std::string_view> paths;
  for (const PageFile& file : page_files()) {
    EXPECT_TRUE(paths.insert(file.path).second) << file.path;
    EXPECT_THAT(std::string(file.path), StartsWith("/"));
  }
}

TEST(PageFiles, OtherPathsAreNotThere) {
  using namespace std::string_view_literals;
  constexpr std::string_view kPaths[] = {"",          "/index.html", "panel.js",       "/panel.jsx",
                                         "/panel",    "//",          "/page/panel.js", "/../options.cpp",
                                         "/PANEL.JS", "/\0"sv,       "/panel.js\0"sv};
  for (const std::string_view path : kPaths) {
    EXPECT_EQ(find_page_file(path), nullptr) << path;
  }
}

}  // namespace
}  // namespace hark::panel_gateway
