// The helpers of the scanner's tests; see the header.
#include "cpsip/scan_fixture.h"

#include <algorithm>
#include <ostream>

namespace hark::test {

cpsip_osa_chain BlockOf(std::string_view text) {
  const std::size_t size = std::max<std::size_t>(text.size(), kSocketBlockSize);
  EXPECT_LE(text.size(), kMaxOsaCapacity);
  cpsip_osa_chain block{cpsip_osa_buf_alloc(static_cast<std::uint16_t>(size))};
  std::copy(text.begin(), text.end(), block->data());
  block->used = static_cast<std::uint16_t>(text.size());
  return block;
}

std::string Times(std::size_t count, std::string_view text) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i)
    all += text;
  return all;
}

std::string Request(std::string_view headers, std::string_view body) {
  return "INVITE sip:bob@192.0.2.4 SIP/2.0\r\n" + std::string{headers} + "\r\n" + std::string{body};
}

std::string Response(std::string_view headers, std::string_view body) {
  return "SIP/2.0 200 OK\r\n" + std::string{headers} + "\r\n" + std::string{body};
}

Scanned Scan(std::string_view datagram) {
  Scanned scanned;
  // Whatever they were before, the scan tells them.
  scanned.complete = true;
  scanned.left_over = 9999;
  (void)Reports([&] {
    scanned.result = cpsip_msg_scan(scanned.scan, BlockOf(datagram), scanned.complete, scanned.left_over);
  });
  return scanned;
}

LineScan::LineScan(std::string_view line) {
  scan_.scan_msg = CPSIP_MsgCreate(false);
  scan_.scan_msg->chain = BlockOf(std::string{line} + "+");
  scan_.cur_buf = scan_.scan_msg->chain.get();
  scan_.cur_off = kOsaHeaderSize;
  EXPECT_TRUE(cpsip_msg_scan_for_eol(scan_));
  EXPECT_EQ(scan_.line_len, line.size());
}

LineScan::Token LineScan::Take(std::uint16_t flags) {
  cpsip_token token;
  int result = -1;
  (void)Reports([&] { result = cpsip_get_next_token_from_osa_buf(scan_, flags, token); });
  if (result == kScanOk && !token.text.empty()) {
    const std::string_view block = scan_.cur_buf->text();
    EXPECT_GE(token.text.data(), block.data()) << "a token that was copied";
    EXPECT_LE(token.text.data() + token.text.size(), block.data() + block.size());
  }
  return {result, std::string{token.text}, token.stop};
}

std::string LineScan::Rest() const {
  const std::size_t at = scan_.cur_off - kOsaHeaderSize;
  return std::string{scan_.cur_buf->text().substr(at, scan_.line_len)};
}

int LineScan::StartLine() {
  int result = -1;
  (void)Reports([&] { result = cpsip_msg_scan_start_line(scan_); });
  return result;
}

void PrintTo(const LineScan::Token& token, std::ostream* out) {
  *out << "result " << token.result << ", " << ::testing::PrintToString(token.text) << ", stop "
       << ::testing::PrintToString(token.stop);
}

std::string TextOf(const cpsip_field& field) { return std::string{cpsip_field_view(field)}; }

Texts Chain(const cpsip_msg& msg, std::uint16_t head) {
  Texts texts;
  for (std::uint16_t at = head; at != 0; at = msg.fields[at].next_hdr)
    texts.push_back(TextOf(msg.fields[at]));
  return texts;
}

Texts Parms(const cpsip_msg& msg, const cpsip_field& of) {
  Texts texts;
  for (std::uint16_t at = of.next_parm; at != 0; at = msg.fields[at].next_parm)
    texts.push_back(TextOf(msg.fields[at]));
  return texts;
}

Texts ParmsOf(const cpsip_msg& msg, std::uint16_t head, std::size_t instance) {
  std::uint16_t at = head;
  for (std::size_t i = 1; i < instance && at != 0; ++i)
    at = msg.fields[at].next_hdr;
  if (at == 0) return {"(no such instance)"};
  return Parms(msg, msg.fields[at]);
}

std::string_view UsualSdp() {
  return "v=0\r\n"
         "o=alice 2890844526 2890844526 IN IP4 192.0.2.1\r\n"
         "s=intercom\r\n"
         "c=IN IP4 192.0.2.1\r\n"
         "t=0 0\r\n"
         "m=audio 49170 RTP/AVP 9 0 8 101\r\n"
         "a=rtpmap:101 telephone-event/8000\r\n"
         "a=fmtp:101 0-15\r\n"
         "a=ptime:20\r\n"
         "a=sendrecv\r\n";
}

std::string SdpOfSize(std::size_t size) {
  static constexpr std::size_t kLine = 100;
  std::string text = "v=0\r\no=- 1 1 IN IP4 192.0.2.1\r\ns=-\r\nc=IN IP4 192.0.2.1\r\nt=0 0\r\n";
  while (size - text.size() > kLine)
    text += "a=" + std::string(kLine - 24, 'x') + "\r\n";
  text += "a=" + std::string(size - text.size() - 4, 'y') + "\r\n";
  EXPECT_EQ(text.size(), size);
  return text;
}

}  // namespace hark::test
