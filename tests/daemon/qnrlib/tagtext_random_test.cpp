// The tag readers over many random texts with fixed seeds: against a second, slower reading of the grammar,
// and there and back through the escaping.
#include <gtest/gtest.h>
#include <strings.h>

#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "daemon/qnrlib/tagtext.h"

namespace hark {
namespace {

constexpr int kRounds = 20000;

// Text of up to `longest` characters out of those that mean something to the grammar, and a few letters.
std::string RandomText(std::mt19937& random, std::string_view alphabet, unsigned longest) {
  std::string text;
  for (unsigned n = random() % (longest + 1); n > 0; --n)
    text += alphabet[random() % alphabet.size()];
  return text;
}

// A token as the grammar has it: where it starts, and its raw text.
struct Token {
  std::size_t at;
  std::string raw;
};

// Cuts `text` into tokens by marking, for each character, whether it separates; unlike the readers it looks
// at the whole text first.
std::vector<Token> Tokens(const std::string& text) {
  std::vector<bool> separates(text.size(), false);
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (!quoted) {
      separates[i] = text[i] == ' ' || text[i] == ',';
    }
  }
  std::vector<Token> tokens;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (separates[i]) continue;
    if (i == 0 || separates[i - 1]) tokens.push_back({i, {}});
    tokens.back().raw += text[i];
  }
  return tokens;
}

// Where the value of `tag` starts in `text`, by the tokens; npos when there is none.
std::size_t ValueByTokens(const std::string& text, const std::string& tag) {
  for (const Token& token : Tokens(text)) {
    if (strncasecmp(token.raw.c_str(), tag.c_str(), tag.size()) != 0) continue;
    const std::size_t behind = token.at + tag.size();
    if (behind < text.size() && std::string_view(":= ").find(text[behind]) != std::string_view::npos)
      return behind + 1;
  }
  return std::string::npos;
}

TEST(TagTextRandom, FindvalFindsWhatTheTokensHold) {
  std::mt19937 random(1);  // the same cases on every run
  int found = 0;
  for (int i = 0; i < kRounds; ++i) {
    const std::string text = RandomText(random, "AABab:= ,\"\\", 24);
    for (const std::string tag : {"A", "AB", "ba"}) {
      const std::size_t want = ValueByTokens(text, tag);
      const char* got = qnr_findval(text.c_str(), tag.c_str());
      if (want == std::string::npos) {
        ASSERT_EQ(got, nullptr) << text << " / " << tag;
      } else {
        ++found;
        ASSERT_EQ(got, text.c_str() + want) << text << " / " << tag;
      }
    }
  }
  EXPECT_GT(found, kRounds / 10) << "the texts are too poor to tell anything";
}

TEST(TagTextRandom, NextvalVisitsEachTokenOnce) {
  std::mt19937 random(2);
  for (int i = 0; i < kRounds; ++i) {
    const std::string text = RandomText(random, "ab:= ,\"\\", 24);
    std::vector<std::size_t> want;
    for (const Token& token : Tokens(text))
      want.push_back(token.at);
    std::vector<std::size_t> got;
    const char* p = text.c_str();
    if (*p == ' ' || *p == ',') qnr_nextval(p);
    for (; *p != '\0'; qnr_nextval(p))
      got.push_back(static_cast<std::size_t>(p - text.c_str()));
    ASSERT_EQ(got, want) << text;
  }
}

TEST(TagTextRandom, RawCopyGivesTheTokenAndClosesItsQuote) {
  std::mt19937 random(3);
  for (int i = 0; i < kRounds; ++i) {
    const std::string text = RandomText(random, "ab:\"\\ ,", 24);
    for (const Token& token : Tokens(text)) {
      const auto buffer = std::make_unique<char[]>(token.raw.size() + 3);
      const char* src = text.c_str() + token.at;
      char* dst = buffer.get();
      qnr_copyval(src, dst);
      ASSERT_EQ(src, text.c_str() + token.at + token.raw.size()) << text;
      std::string copy(buffer.get());
      ASSERT_EQ(copy.back(), ' ') << text;
      copy.pop_back();
      ASSERT_TRUE(copy == token.raw || copy == token.raw + "\"") << text << " gave " << copy;
    }
  }
}

TEST(TagTextRandom, EscapedTextReadsBackOutOfQuotes) {
  std::mt19937 random(4);
  for (int i = 0; i < kRounds; ++i) {
    const std::string text = RandomText(random, "ab \"\\,:=\xC3\xA9", 40);
    std::array<char, 100> escaped{};
    qnr_escape(escaped.data(), escaped.size(), text.c_str());
    const std::string list = "A:1 N:\"" + std::string(escaped.data()) + "\" B:2";
    std::array<char, 100> back{};
    const char* val = qnr_findval(list.c_str(), "N");
    ASSERT_NE(val, nullptr) << list;
    ASSERT_EQ(qnr_copyval(back.data(), val, back.size()), static_cast<int>(text.size())) << list;
    ASSERT_EQ(text, back.data()) << list;
    ASSERT_EQ(qnr_vallen(val), static_cast<int>(text.size())) << list;
    ASSERT_EQ(qnr_getl(list.c_str(), "B", -1), 2) << list;
  }
}

TEST(TagTextRandom, EscapeInAnyRoomIsAWholeStartOfTheFullOne) {
  std::mt19937 random(5);
  for (int i = 0; i < kRounds; ++i) {
    const std::string text = RandomText(random, "ab\"\\", 12);
    std::array<char, 40> full{};
    qnr_escape(full.data(), full.size(), text.c_str());
    const int size = static_cast<int>(random() % 26) + 1;
    const auto cut = std::make_unique<char[]>(static_cast<std::size_t>(size));
    const int n = qnr_escape(cut.get(), size, text.c_str());
    ASSERT_LT(n, size);
    ASSERT_EQ(std::string(full.data()).substr(0, static_cast<std::size_t>(n)), cut.get()) << text;
    const std::string quoted = "\"" + std::string(cut.get()) + "\"";
    std::array<char, 40> back{};
    const int length = qnr_copyval(back.data(), quoted.c_str(), back.size());
    ASSERT_EQ(text.substr(0, static_cast<std::size_t>(length)), back.data()) << text << " in " << size;
  }
}

TEST(TagTextRandom, ReadersStayInsideAnyText) {
  std::mt19937 random(6);
  for (int i = 0; i < kRounds; ++i) {
    const std::string text = RandomText(random, "A1:=./ ,\"\\\r\n-x", 20);
    const auto exact = std::make_unique<char[]>(text.size() + 1);  // so that a sanitizer sees its end
    text.copy(exact.get(), text.size());
    const char* val = qnr_findval(exact.get(), "A");
    ASSERT_TRUE(val == nullptr || (val >= exact.get() && val <= exact.get() + text.size())) << text;
    const int size = static_cast<int>(random() % 10) + 1;
    const auto out = std::make_unique<char[]>(static_cast<std::size_t>(size));
    ASSERT_LT(qnr_copyval(out.get(), exact.get(), size), size);
    ASSERT_LE(qnr_vallen(exact.get()), static_cast<int>(text.size()));
    const std::unique_ptr<char[]> copy(qnr_valdup(exact.get()));
    ASSERT_EQ(copy == nullptr, qnr_vallen(exact.get()) < 1) << text;
    (void)qn_url2ip(exact.get(), nullptr);
    (void)qnr_vall(exact.get());
    (void)qnr_alter_str(exact.get(), exact.get(), nullptr);
  }
}

}  // namespace
}  // namespace hark
