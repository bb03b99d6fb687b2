// The walk over a tag list and the two searches in it: where a token starts, which token a tag names, and
// what text the error lines have.
#include "daemon/qnrlib/tagtext.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace hark {
namespace {

// The starts of all tokens of `text`, each given as the text from there on.
std::vector<std::string> Walk(const char* text) {
  std::vector<std::string> starts;
  for (const char* p = text; *p != '\0'; qnr_nextval(p))
    starts.emplace_back(p);
  return starts;
}

TEST(QnrNextval, ThreeTokensBetweenBlanksAndCommas) {
  EXPECT_EQ(Walk(R"(A:1,B:2  C:"x y")"),
            (std::vector<std::string>{R"(A:1,B:2  C:"x y")", R"(B:2  C:"x y")", R"(C:"x y")"}));
}

TEST(QnrNextval, StopsAtTheStartOfTheNextToken) {
  struct Row {
    const char* text;
    const char* rest;
  };
  for (const Row& row : {Row{"A B", "B"},
                         Row{"A,B", "B"},
                         Row{"A , ,  B C", "B C"},
                         Row{"A:1", ""},
                         Row{"A:1 ", ""},
                         Row{"A:1,, ", ""},
                         Row{"", ""},
                         Row{" A", "A"},
                         Row{R"(A:"1 2,3" B)", "B"},
                         Row{R"("A B" C)", "C"},
                         Row{R"(A:1" "2 B)", "B"},
                         Row{R"(A:1\ 2 B)", "B"},
                         Row{R"(A:1\,2 B)", "B"},
                         Row{R"(A:\" B)", "B"},
                         Row{R"(A:"x\" y" B)", "B"},
                         Row{R"(A:"x\\" B)", "B"},
                         Row{R"(A:"open B C)", ""},
                         Row{"A\\", ""},
                         Row{R"(A:"\)", ""},
                         Row{"A\tB C", "C"},
                         Row{"A\r\nB C", "C"}}) {
    SCOPED_TRACE(row.text);
    const char* p = row.text;
    qnr_nextval(p);
    EXPECT_STREQ(p, row.rest);
  }
}

TEST(QnrFindtag, GivesTheStartOfTheTagsToken) {
  struct Row {
    const char* text;
    const char* tag;
    const char* found;  // null: not found
  };
  for (const Row& row :
       {Row{"NAME:1", "NAME", "NAME:1"}, Row{"NAME=1", "NAME", "NAME=1"}, Row{"name:1", "NAME", "name:1"},
        Row{"NAME:1", "nAmE", "NAME:1"}, Row{"A:1, NAME:2 B:3", "NAME", "NAME:2 B:3"},
        Row{"  NAME:2", "NAME", "NAME:2"}, Row{"NAME:1 NAME:2", "NAME", "NAME:1 NAME:2"},
        Row{R"(A:"NAME:9" NAME:2)", "NAME", "NAME:2"}, Row{R"(A:x\ NAME:9 NAME:2)", "NAME", "NAME:2"},
        Row{"NAME 1", "NAME", nullptr}, Row{"NAME", "NAME", nullptr}, Row{"NAMEX:1", "NAME", nullptr},
        Row{"NAM:1", "NAME", nullptr}, Row{"X:NAME:1", "NAME", nullptr}, Row{"", "NAME", nullptr}}) {
    SCOPED_TRACE(std::string(row.text) + " / " + row.tag);
    EXPECT_STREQ(qnr_findtag(row.text, row.tag, std::strlen(row.tag)), row.found);
  }
  EXPECT_EQ(qnr_findtag(nullptr, "NAME", 4), nullptr);
}

TEST(QnrFindtag, ComparesOnlyTheGivenLengthOfTheTag) {
  EXPECT_STREQ(qnr_findtag("A:1 NAME:2", "NAME:and more", 4), "NAME:2");
  EXPECT_EQ(qnr_findtag("A:1 NAME:2", "NAME", 3), nullptr);
}

TEST(QnrFindval, PointsAtTheRawValueBehindTheTag) {
  struct Row {
    const char* text;
    const char* tag;
    const char* found;  // null: not found
  };
  for (const Row& row : {Row{"NAME:1", "NAME", "1"},
                         Row{"NAME=1", "NAME", "1"},
                         Row{"NAME 1", "NAME", "1"},
                         Row{"name:1", "NAME", "1"},
                         Row{"NAME:", "NAME", ""},
                         Row{"NAME:1 B:2", "NAME", "1 B:2"},
                         Row{R"(NAME:"x y" B:2)", "NAME", R"("x y" B:2)"},
                         Row{"DST 3 ADDR:4", "DST", "3 ADDR:4"},
                         Row{"DST 3 ADDR:4", "ADDR", "4"},
                         Row{"NAME  1", "NAME", " 1"},
                         Row{"A:1,NAME=2", "NAME", "2"},
                         Row{"TRGLA:5 TRGL:4", "TRGL", "4"},
                         Row{"TRGLA:5", "TRGL", nullptr},
                         Row{"X:NAME:1", "NAME", nullptr},
                         Row{R"(X:"a NAME:1")", "NAME", nullptr},
                         Row{"NAME", "NAME", nullptr},
                         Row{"NAME,1", "NAME", nullptr},
                         Row{"NAME\t1", "NAME", nullptr},
                         Row{"NAM:1", "NAME", nullptr},
                         Row{"", "NAME", nullptr}}) {
    SCOPED_TRACE(std::string(row.text) + " / " + row.tag);
    EXPECT_STREQ(qnr_findval(row.text, row.tag), row.found);
  }
}

TEST(QnrFindval, NullArgumentsFindNothing) {
  EXPECT_EQ(qnr_findval(nullptr, "NAME"), nullptr);
  EXPECT_EQ(qnr_findval("NAME:1", nullptr), nullptr);
  EXPECT_EQ(qnr_findval(nullptr, nullptr), nullptr);
}

TEST(QnrFindval, QuotedValueOfTheLastTokenReadsWithItsBlank) {
  std::array<char, 32> value{};
  EXPECT_EQ(qnr_copyval(value.data(), qnr_findval(R"(A:1,B:2  C:"x y")", "C"), value.size()), 3);
  EXPECT_STREQ(value.data(), "x y");
}

TEST(QnrErrors, EachLineHasItsNumberAndText) {
  EXPECT_STREQ(QNR_ERROR_BADCOMMAND, "ERROR 1000 bad command\r\n");
  EXPECT_STREQ(QNR_ERROR_SYNTAXERROR, "ERROR 1001 syntax error\r\n");
  EXPECT_STREQ(QNR_ERROR_BADPORT, "ERROR 1002 bad port number\r\n");
  EXPECT_STREQ(QNR_ERROR_BADPROGID, "ERROR 1003 bad batch id\r\n");
  EXPECT_STREQ(QNR_ERROR_INVALIDPASSWORD, "ERROR 1004 invalid password\r\n");
  EXPECT_STREQ(QNR_ERROR_SERVERBUSY, "ERROR 2000 server busy\r\n");
  EXPECT_STREQ(QNR_ERROR_HOSTCONNLIMIT, "ERROR 2001 too many connections from host\r\n");
  EXPECT_STREQ(QNR_ERROR_CONNECTIONFAILED, "ERROR 2003 connection failed\r\n");
}

}  // namespace
}  // namespace hark
