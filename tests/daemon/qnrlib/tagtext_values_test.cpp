// What a raw value means: unquoting, its length, copies on the heap, numbers, the raw copy of a token, and
// the escaping that makes a text safe inside quotes.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "daemon/qnrlib/tagtext.h"

namespace hark {
namespace {

// A copy of `val` in a buffer of exactly `size` bytes, so that a sanitizer sees each byte too many.
std::string Copy(const char* val, int size = 100) {
  const auto buffer = std::make_unique<char[]>(static_cast<std::size_t>(size));
  const int n = qnr_copyval(buffer.get(), val, size);
  EXPECT_EQ(n, static_cast<int>(std::strlen(buffer.get())));
  return buffer.get();
}

std::string Escape(const char* src, int size = 100) {
  const auto buffer = std::make_unique<char[]>(static_cast<std::size_t>(size));
  const int n = qnr_escape(buffer.get(), size, src);
  EXPECT_EQ(n, static_cast<int>(std::strlen(buffer.get())));
  return buffer.get();
}

TEST(QnrCopyval, UnquotesUpToTheTokensEnd) {
  struct Row {
    const char* val;
    const char* want;
  };
  for (const Row& row : {Row{"x", "x"},
                         Row{"x y", "x"},
                         Row{"x,y", "x"},
                         Row{"x\ry", "x"},
                         Row{"x\ny", "x"},
                         Row{"x\ty", "x\ty"},
                         Row{R"("x y",z)", "x y"},
                         Row{R"("x,y" z)", "x,y"},
                         Row{R"(a"b c"d e)", "ab cd"},
                         Row{R"("a\"b")", R"(a"b)"},
                         Row{R"("a\\b")", R"(a\b)"},
                         Row{R"(a\ b c)", "a b"},
                         Row{R"(a\,b)", "a,b"},
                         Row{R"(\n)", "n"},
                         Row{"\"x\ny\"", "x\ny"},
                         Row{"\"x\r\ny\" z", "x\r\ny"},
                         Row{R"("open, and so on)", "open, and so on"},
                         Row{R"("")", ""},
                         Row{"", ""},
                         Row{" x", ""},
                         Row{",x", ""},
                         Row{"\\", "\\"}}) {
    SCOPED_TRACE(row.val);
    EXPECT_EQ(Copy(row.val), row.want);
  }
}

TEST(QnrCopyval, ValueCutByTheLimitIsStillTerminated) {
  struct Row {
    int size;
    const char* val;
    const char* want;
  };
  for (const Row& row : {Row{4, "abcdef", "abc"}, Row{4, "abc", "abc"}, Row{3, R"("a b")", "a "},
                         Row{3, R"(\a\b\c)", "ab"}, Row{1, "abc", ""}, Row{2, R"("")", ""}}) {
    SCOPED_TRACE(row.val);
    EXPECT_EQ(Copy(row.val, row.size), row.want);
  }
}

TEST(QnrCopyval, NoValueGivesTheEmptyText) { EXPECT_EQ(Copy(nullptr), ""); }

TEST(QnrCopyval, NothingIsWrittenWithoutRoom) {
  std::array<char, 2> buffer{'#', '#'};
  EXPECT_EQ(qnr_copyval(nullptr, "x", 10), 0);
  EXPECT_EQ(qnr_copyval(buffer.data(), "x", 0), 0);
  EXPECT_EQ(qnr_copyval(buffer.data(), "x", -1), 0);
  EXPECT_EQ(qnr_copyval(buffer.data(), nullptr, 0), 0);
  EXPECT_EQ(buffer[0], '#');
}

TEST(QnrVallen, CountsWhatACopyHolds) {
  struct Row {
    const char* val;
    int want;
  };
  for (const Row& row :
       {Row{"x", 1}, Row{"xy z", 2}, Row{"xy,z", 2}, Row{"xy\rz", 2}, Row{"xy\nz", 2}, Row{R"("x y" z)", 3},
        Row{R"("a\"b")", 3}, Row{R"("a\\b")", 3}, Row{R"(a\ b)", 3}, Row{R"("open to the end)", 15},
        Row{R"("")", 0}, Row{"", 0}, Row{" x", 0}, Row{"\\", 1}}) {
    SCOPED_TRACE(row.val);
    EXPECT_EQ(qnr_vallen(row.val), row.want);
    EXPECT_EQ(Copy(row.val).size(), static_cast<std::size_t>(row.want));
  }
  EXPECT_EQ(qnr_vallen(nullptr), 0);
}

TEST(QnrVallen, StopsAtALineEndInQuotesWhereTheCopyGoesOn) {
  for (const char* val : {"\"ab\ncd\"", "\"ab\rcd\""}) {
    SCOPED_TRACE(val);
    EXPECT_EQ(qnr_vallen(val), 2);
    EXPECT_EQ(Copy(val).size(), 5U);
  }
}

TEST(QnrValdup, GivesTheUnquotedValueOnTheHeap) {
  struct Row {
    const char* val;
    const char* want;
  };
  for (const Row& row : {Row{"x y", "x"}, Row{R"("x y")", "x y"}, Row{R"("a\"b" c)", R"(a"b)"}}) {
    SCOPED_TRACE(row.val);
    const std::unique_ptr<char[]> copy(qnr_valdup(row.val));
    EXPECT_STREQ(copy.get(), row.want);
  }
}

TEST(QnrValdup, LineEndInQuotesEndsTheCopy) {
  const std::unique_ptr<char[]> copy(qnr_valdup("\"ab\ncd\""));
  EXPECT_STREQ(copy.get(), "ab");
}

TEST(QnrValdup, EmptyValueGivesNothing) {
  for (const char* val : {"", "\"\"", " x", ",", "\"\n\""}) {
    SCOPED_TRACE(val);
    const std::unique_ptr<char[]> copy(qnr_valdup(val));
    EXPECT_EQ(copy, nullptr);
  }
  const std::unique_ptr<char[]> copy(qnr_valdup(nullptr));
  EXPECT_EQ(copy, nullptr);
}

TEST(QnrVall, ReadsNumbersInTheBaseTheyShow) {
  struct Row {
    const char* val;
    long want;
  };
  for (const Row& row : {Row{"7", 7}, Row{"-240", -240}, Row{"+3", 3}, Row{"0x1F", 31}, Row{"010", 8},
                         Row{"\"12\"", 12}, Row{"\"-0x10\"", -16}, Row{"12abc", 12}, Row{" 5", 5}, Row{"", 0},
                         Row{"abc", 0}, Row{"\"\"", 0}, Row{"\"\"5\"", 0}, Row{"*", 0}}) {
    SCOPED_TRACE(row.val);
    EXPECT_EQ(qnr_vall(row.val), row.want);
  }
  EXPECT_EQ(qnr_vall(nullptr), 0);
}

TEST(QnrGetl, ReadsTheTagOrGivesTheDefault) {
  struct Row {
    const char* text;
    const char* tag;
    long want;
  };
  for (const Row& row :
       {Row{"A:1 B:2", "B", 2}, Row{"A:1 b=0x10", "B", 16}, Row{"A 5", "A", 5}, Row{R"(A:"6")", "A", 6},
        Row{"A:none", "A", 0}, Row{"A:", "A", 0}, Row{"A:1", "B", -99}, Row{"", "B", -99},
        Row{"AB:1", "B", -99}, Row{nullptr, "B", -99}}) {
    SCOPED_TRACE(row.text != nullptr ? row.text : "(null)");
    EXPECT_EQ(qnr_getl(row.text, row.tag, -99), row.want);
  }
}

TEST(QnrEscape, PutsABackslashBeforeQuotesAndBackslashes) {
  struct Row {
    const char* src;
    const char* want;
  };
  for (const Row& row : {Row{"abc", "abc"}, Row{R"(a"b)", R"(a\"b)"}, Row{R"(a\b)", R"(a\\b)"},
                         Row{R"("\)", R"(\"\\)"}, Row{"a b,c", "a b,c"}, Row{"", ""}}) {
    SCOPED_TRACE(row.src);
    EXPECT_EQ(Escape(row.src), row.want);
  }
  EXPECT_EQ(Escape(nullptr), "");
}

TEST(QnrEscape, PairThatDoesNotFitWholeEndsTheCopy) {
  struct Row {
    int size;
    const char* src;
    const char* want;
  };
  for (const Row& row :
       {Row{4, "abcd", "abc"}, Row{4, R"(ab"c)", "ab"}, Row{4, R"(a"bc)", R"(a\")"},
        Row{5, R"(ab"c)", R"(ab\")"}, Row{2, R"(\a)", ""}, Row{3, R"(\a)", R"(\\)"}, Row{1, "a", ""}}) {
    SCOPED_TRACE(std::string(row.src) + " in " + std::to_string(row.size));
    EXPECT_EQ(Escape(row.src, row.size), row.want);
  }
}

TEST(QnrEscape, NothingIsWrittenWithoutABuffer) { EXPECT_EQ(qnr_escape(nullptr, 10, "abc"), 0); }

TEST(QnrCopyToken, CopiesTheTokenAsItStandsAndABlank) {
  struct Row {
    const char* src;
    const char* want;
    const char* rest;
  };
  for (const Row& row :
       {Row{"A:1", "A:1 ", ""}, Row{"A:1 B:2", "A:1 ", " B:2"}, Row{"A:1,B:2", "A:1 ", ",B:2"},
        Row{R"(A:"x y" B)", R"(A:"x y" )", " B"}, Row{R"(A:"x,y",B)", R"(A:"x,y" )", ",B"},
        Row{R"(A:x\ y B)", R"(A:x\ y )", " B"}, Row{R"(A:"x\" y" B)", R"(A:"x\" y" )", " B"},
        Row{R"(A:"open B)", R"(A:"open B" )", ""}, Row{R"(A:")", R"(A:"" )", ""}, Row{"", " ", ""}}) {
    SCOPED_TRACE(row.src);
    std::array<char, 64> buffer;
    buffer.fill('#');
    const char* src = row.src;
    char* dst = buffer.data();
    qnr_copyval(src, dst);
    EXPECT_STREQ(buffer.data(), row.want);
    EXPECT_EQ(dst, buffer.data() + std::strlen(row.want));
    EXPECT_STREQ(src, row.rest);
  }
}

TEST(QnrCopyToken, TokensFollowEachOtherWithOneBlankBetween) {
  std::array<char, 64> buffer{};
  char* dst = buffer.data();
  for (const char* token : {"A:1,rest", R"(B:"2 3" rest)"})
    qnr_copyval(token, dst);
  EXPECT_STREQ(buffer.data(), R"(A:1 B:"2 3" )");
}

}  // namespace
}  // namespace hark
