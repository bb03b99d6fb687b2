// Random URLs with a fixed seed: whatever the text, every part that is found lies inside it, and what a
// writer of URLs puts in comes out again.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "addressing/harkurl.h"

namespace hark {
namespace {

// A text of pieces that mean something in a URL.
std::string RandomUrl(std::mt19937& random) {
  static constexpr std::array<std::string_view, 22> kPieces{
      "\"",        "<",      ">",       ";",      " ",      "=",
      "\\",        ":",      "hark:",   "*hark:", "sip:",   "sip:hark-talk@",
      "quillnet:", "phone:", "1.2.3.4", "label=", "trgl=2", "\\032",
      "\\0",       "A",      "x y",     "\xFF"};
  std::string url;
  for (unsigned n = random() % 10; n > 0; --n)
    url += kPieces[random() % kPieces.size()];
  return url;
}

constexpr std::uint32_t kBracketFirst = 0xFFFFFFFF;

TEST(HarkurlRandom, EveryPartLiesInsideTheText) {
  std::mt19937 random(31);  // the same cases on every run
  for (int i = 0; i < 50000; ++i) {
    const std::string url = RandomUrl(random);
    const auto text = std::make_unique<char[]>(url.size() + 1);  // exact, so that a sanitizer sees its end
    url.copy(text.get(), url.size());
    const char* const end = text.get() + url.size();
    const auto inside = [&](const char* part, std::size_t len) {
      return part >= text.get() && part <= end && len <= static_cast<std::size_t>(end - part);
    };
    harkurl_info info;
    const int type = harkurl_parse(text.get(), &info);
    ASSERT_EQ(type, harkurl_parse(text.get(), nullptr)) << url;
    if (url.empty()) {
      ASSERT_EQ(type, -1);
      continue;
    }
    ASSERT_EQ(info.full, text.get());
    ASSERT_EQ(info.full_len, url.size());
    if (info.name_len != 0) {
      ASSERT_TRUE(inside(info.name, info.name_len == kBracketFirst ? 0 : info.name_len)) << url;
    }
    ASSERT_TRUE(inside(info.url, info.url_len)) << url;
    ASSERT_TRUE(inside(info.tags, info.tags_len)) << url;
    ASSERT_EQ(type == HARKURL_STATION, harkurl_address(info.url) != nullptr) << url;
  }
}

TEST(HarkurlRandom, ReadersAndWritersTakeAnyText) {
  std::mt19937 random(32);
  for (int i = 0; i < 50000; ++i) {
    const std::string a = RandomUrl(random);
    const std::string b = RandomUrl(random);
    const int order = hark_urlcompare(a.c_str(), b.c_str());
    const int back = hark_urlcompare(b.c_str(), a.c_str());
    ASSERT_EQ((order > 0) - (order < 0), (back < 0) - (back > 0)) << a << " / " << b;
    ASSERT_EQ(hark_urlcompare(a.c_str(), a.c_str()), 0) << a;
    ASSERT_LE(harkurl_meaningfull_addr_len(a.c_str(), a.size()), a.size()) << a;

    harkurl_info info;
    (void)harkurl_parse(a.c_str(), &info);
    (void)url_tagl(info.tags, "trgl");
    const std::size_t size = random() % 12 + 1;
    const auto out = std::make_unique<char[]>(size);
    const int n = url_tagsz(&info, "label", out.get(), size);
    ASSERT_GE(n, 0) << a;
    ASSERT_LT(static_cast<std::size_t>(n), size) << a;
    (void)harkurl_fromsip(a.c_str());
    (void)harkurl_fromsip2(b.c_str(), a.c_str());
  }
}

TEST(HarkurlRandom, WhatIsPutTogetherIsCutApartAgain) {
  std::mt19937 random(33);
  static constexpr std::string_view kPlain = "abcXYZ019 .-";
  const auto word = [&random](unsigned longest) {
    std::string text;
    for (unsigned n = random() % longest + 1; n > 0; --n)
      text += kPlain[random() % kPlain.size()];
    return text;
  };
  for (int i = 0; i < 5000; ++i) {
    const std::string name = word(20);
    const std::string address = "hark:" + word(20);
    const std::string label = word(10);
    const std::string url =
        "\"" + name + "\" <" + address + ">;label=" + label + ";trgl=" + std::to_string(i % 100);
    harkurl_info info;
    ASSERT_EQ(harkurl_parse(url.c_str(), &info), HARKURL_STATION) << url;
    ASSERT_EQ(std::string(info.name, info.name_len), name) << url;
    ASSERT_EQ(std::string(info.url, info.url_len), address) << url;
    std::array<char, 11> got{};
    ASSERT_EQ(url_tagsz(&info, "label", got.data(), got.size()), static_cast<int>(label.size())) << url;
    ASSERT_EQ(label, got.data()) << url;
    ASSERT_EQ(url_tagl(info.tags, "trgl"), i % 100) << url;
    ASSERT_EQ(hark_urlcompare(url.c_str(), address.c_str()), 0) << url;
  }
}

TEST(HarkurlRandom, EscapedTagTextReadsBack) {
  std::mt19937 random(34);
  for (int i = 0; i < 5000; ++i) {
    std::string label;
    std::string url = "hark:1;label=";
    for (unsigned n = random() % 10; n > 0; --n) {
      const unsigned byte = random() % 255 + 1;
      const char c = static_cast<char>(byte);
      label += c;
      if (random() % 2 == 0 || std::string_view(";>\\").find(c) != std::string_view::npos) {
        url += {'\\', static_cast<char>('0' + byte / 100), static_cast<char>('0' + byte / 10 % 10),
                static_cast<char>('0' + byte % 10)};
      } else {
        url += c;
      }
    }
    url += ";trgl=1";
    harkurl_info info;
    (void)harkurl_parse(url.c_str(), &info);
    std::array<char, 64> got{};
    ASSERT_EQ(url_tagsz(&info, "label", got.data(), got.size()), static_cast<int>(label.size())) << url;
    ASSERT_EQ(label, got.data()) << url;
  }
}

}  // namespace
}  // namespace hark
