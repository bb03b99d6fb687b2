// The mark in a destination's address that somebody talks into it.
#include <gtest/gtest.h>

#include "routing/qnrifb_private.h"

namespace hark {
namespace {

TEST(QnrifbCheckPttTag, SeesATalker) {
  for (const char* value : {
           R"("1.2.3.4 <^PTT>")",
           R"("1.2.3.4 ^PTT")",
           R"("1.2.3.4 <^PTT")",
           R"("1.2.3.4 ^PTT>")",
           R"("1.2.3.4 <^PTT;x>")",
           R"("1.2.3.4 ^PTT;x")",
           R"("1.2.3.4 <^PTT>)",
           R"("1.2.3.4 ^PTT;)",
           R"("1.2.3.4 <^PTT> and more" STAT:1)",
           R"("name <^PTT>")",
           R"(" <^PTT>")",
           R"(" ^PTT")",
       }) {
    SCOPED_TRACE(value);
    EXPECT_TRUE(qnrifb_check_ptt_tag(value));
  }
}

TEST(QnrifbCheckPttTag, SeesNoneInAnythingElse) {
  for (const char* value : {
           // no quote
           "",
           "1.2.3.4",
           "1.2.3.4 <^PTT>",
           "^PTT",
           R"( "1.2.3.4 <^PTT>")",
           // no blank behind the address
           R"(")",
           R"("")",
           R"("1.2.3.4")",
           R"("1.2.3.4)",
           R"("1.2.3.4<^PTT>")",
           R"("<^PTT>")",
           R"("^PTT")",
           R"("1.2.3.4" <^PTT>")",
           "\"1.2.3.4\t<^PTT>\"",
           // the tag is not the next
           R"("1.2.3.4 )",
           R"("1.2.3.4 ")",
           R"("1.2.3.4 <)",
           R"("1.2.3.4 <")",
           R"("1.2.3.4  <^PTT>")",
           R"("1.2.3.4 <<^PTT>")",
           R"("1.2.3.4 < ^PTT>")",
           R"("1.2.3.4 PTT")",
           R"("1.2.3.4 >^PTT")",
           R"("1.2.3.4 ^ptt")",
           R"("1.2.3.4 name ^PTT")",
           R"("1.2.3.4 <name;^PTT>")",
           // cut, or with something else behind it
           R"("1.2.3.4 ^PT)",
           R"("1.2.3.4 ^PT")",
           R"("1.2.3.4 ^PTT)",
           R"("1.2.3.4 <^PTT)",
           R"("1.2.3.4 ^PTT ")",
           R"("1.2.3.4 <^PTT >")",
           R"("1.2.3.4 <^PTTX>")",
           R"("1.2.3.4 ^PTT<")",
           R"("1.2.3.4 ^PTT,")",
       }) {
    SCOPED_TRACE(value);
    EXPECT_FALSE(qnrifb_check_ptt_tag(value));
  }
}

}  // namespace
}  // namespace hark
