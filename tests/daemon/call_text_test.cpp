// The line that tells of a call: which parts it has, in which order, and how a URL stands in it.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "daemon/server_cmd.h"

namespace hark {
namespace {

constexpr char kNone = '\xff';

TEST(CallText, HasThePartsThatAreKnownTalkFirst) {
  struct Row {
    const char* url;
    char listen;
    char talk;
    std::optional<long> volume;
    const char* text;
  };
  for (const Row& row : {
           Row{"hark:1", '1', kNone, {}, "CALL URL:\"hark:1\" LISTEN:1\r\n"},
           Row{"hark:1", kNone, 'R', {}, "CALL URL:\"hark:1\" TALK:R\r\n"},
           Row{"hark:1", 'd', '0', {}, "CALL URL:\"hark:1\" TALK:0 LISTEN:d\r\n"},
           Row{"hark:1", 0, 0, -120, "CALL URL:\"hark:1\" VOLUME:-120\r\n"},
           Row{"hark:1", '1', 0, 0, "CALL URL:\"hark:1\" LISTEN:1 VOLUME:0\r\n"},
           Row{"hark:1", '1', 'C', 7, "CALL URL:\"hark:1\" TALK:C LISTEN:1 VOLUME:7\r\n"},
           Row{"hark:1", kNone, kNone, {}, "CALL URL:\"hark:1\"\r\n"},
           Row{"", '1', kNone, {}, "CALL URL:\"\" LISTEN:1\r\n"},
           Row{"\"A\\B\" <hark:1>", '1', kNone, {}, "CALL URL:\"\\\"A\\\\B\\\" <hark:1>\" LISTEN:1\r\n"},
       }) {
    SCOPED_TRACE(row.text);
    const long volume = row.volume.value_or(0);
    EXPECT_STREQ(fmt_call_indi(row.url, row.listen, row.talk, row.volume ? &volume : nullptr).data(),
                 row.text);
  }
}

TEST(CallText, LongestLineStillEnds) {
  const std::string url(5000, 'x');
  const long volume = -1000;
  const LineBuffer text = fmt_call_indi(url.c_str(), '1', '1', &volume);
  EXPECT_LE(std::strlen(text.data()), kMaxLine);
  EXPECT_EQ(std::strncmp(text.data(), "CALL URL:\"xxx", 13), 0);
  const std::string quotes(5000, '"');
  EXPECT_LE(std::strlen(fmt_call_indi(quotes.c_str(), '1', '1', nullptr).data()), kMaxLine);
}

}  // namespace
}  // namespace hark
