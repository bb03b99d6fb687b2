// The body of a datagram's message, and the scan of the whole of it.
#include <cstring>
#include <new>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_line.h"

namespace hark {
namespace {

// The session that the body is, parsed where it lies.
int take_session(cpsip_msg& msg, std::span<char> body) {
  if (body.size() > kMaxSdpBody) {
    msg.scan_status = 413;
    (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
    return kScanOk;
  }
  msg.sdp.reset(new (std::nothrow) cpsdp_parms);
  if (msg.sdp == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_msg));
  msg.sdp_text.borrow({body.data(), body.size()});
  const int reason = CPSDP_ParseSession(body, *msg.sdp);
  if (reason == 0) return kScanOk;
  (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg), static_cast<std::uint32_t>(reason));
  // The medium that was begun when it failed counts too.
  std::uint8_t& count = msg.sdp->m_count;
  if (count < msg.sdp->media.size() && msg.sdp->media[count] != nullptr) ++count;
  return kScanBadSdp;
}

int take_body(cpsip_msg& msg, std::span<char> body) {
  if (msg.content_kind == cpsip_content_kind::sdp) return take_session(msg, body);
  msg.body.reset(new (std::nothrow) char[body.size()]);
  if (msg.body == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_msg));
  std::memcpy(msg.body.get(), body.data(), body.size());
  return kScanOk;
}

// Ends a scan whose message is gone.
int drop(cpsip_scan& scan, int result) {
  scan.scan_msg.reset();
  scan.cur_buf = nullptr;
  return result;
}

// The first line that is not blank, parsed. `at` moves behind it; null when no line ends.
int scan_first_line(cpsip_scan& scan, char*& at, char* end) {
  constexpr std::ptrdiff_t kBlank = 2;
  char* begin = at;
  while ((at = cpsip_find_line_end(begin, end)) != nullptr && at - begin == kBlank)
    begin = at;
  if (at == nullptr) return kScanOk;
  cpsip_line line(begin, at);
  scan.scan_msg->start_line = cpsip_field_of(scan, {begin, static_cast<std::size_t>(at - begin)});
  return cpsip_scan_start(scan, line);
}

// The headers, up to and with the empty line. `at` moves behind it; null when there is none.
int scan_headers(cpsip_scan& scan, char*& at, char* end) {
  constexpr std::ptrdiff_t kEmpty = 2;
  while (true) {
    char* const begin = at;
    at = cpsip_find_line_end(begin, end);
    if (at == nullptr || at - begin == kEmpty) return kScanOk;
    cpsip_line line(begin, at);
    if (const int result = cpsip_scan_header(scan, line); result != kScanOk) {
      (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg), static_cast<std::uint32_t>(result));
      return result;
    }
  }
}

// The body, from the read position on.
int scan_body(cpsip_scan& scan, bool& complete, std::uint32_t& left_over) {
  cpsip_msg& msg = *scan.scan_msg;
  const auto rest = static_cast<std::uint32_t>(scan.cur_buf->used - (scan.cur_off - kOsaHeaderSize));
  if (!msg.content_length_seen) msg.content_length = rest;
  if (rest < msg.content_length) {
    // Of a request the sender is told; a response is as good as lost, RFC 3261 section 18.3.
    return msg.method != cpsip_method::response ? kScanBodyTooShort : drop(scan, kScanOk);
  }
  left_over = rest - msg.content_length;
  if (msg.content_length != 0) {
    const int result = take_body(msg, {scan.at(), msg.content_length});
    if (result != kScanOk) return result;
  }
  complete = true;
  return kScanOk;
}

}  // namespace

int cpsip_msg_scan(cpsip_scan& scan, cpsip_osa_chain block, bool& complete, std::uint32_t& left_over) {
  complete = false;
  left_over = 0;
  scan.scan_msg = CPSIP_MsgCreate(false);
  scan.cont_hdr = nullptr;
  scan.last_instance.fill(0);
  scan.cur_buf = block.get();
  scan.scan_msg->chain = std::move(block);
  if (scan.cur_buf == nullptr || scan.cur_buf->used > kMaxScanned) return drop(scan, kScanOk);
  char* at = scan.cur_buf->data();
  char* const end = at + scan.cur_buf->used;
  int result = scan_first_line(scan, at, end);
  if (result == kScanOk && at != nullptr) result = scan_headers(scan, at, end);
  if (result != kScanOk || at == nullptr) return drop(scan, result);
  cpsip_line(at, at).store(scan);
  return scan_body(scan, complete, left_over);
}

}  // namespace hark
