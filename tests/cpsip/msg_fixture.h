// Verbs for the tests of the message layer: fields are written and read by their ids, a message becomes wire
// text in one call, and what the stack reports on standard output is caught. Messages are built here by hand,
// without the scanner.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_format.h"

namespace hark::test {

// What a read gave.
struct FieldRead {
  int result;
  std::string text;
  std::uint32_t remaining;
};

// Reads from `offset` on, by default the whole field. Fails the test when a byte behind `max` is touched.
FieldRead Read(cpsip_msg& msg, std::uint32_t id, unsigned instance = 1, unsigned parm = 1,
               std::uint32_t offset = 0, std::uint32_t max = 0xFFFF);
// The text of a field; the read must succeed.
std::string Text(cpsip_msg& msg, std::uint32_t id, unsigned instance = 1, unsigned parm = 1);
// Writes, and returns the result.
int Write(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm, std::string_view text);
// Writes; it must succeed.
void Put(cpsip_msg& msg, std::uint32_t id, std::string_view text, unsigned instance = 1, unsigned parm = 1);
// All parameters of an instance, read until there is no further one.
std::vector<std::string> Parms(cpsip_msg& msg, std::uint32_t id, unsigned instance = 1);

// `length` characters that tell their position: no piece of it looks like another.
std::string Pattern(std::size_t length);

// A record of the pool whose text is `text`: how what has no field id (display names of routes) gets there.
std::uint16_t PoolText(cpsip_msg& msg, std::string_view text);

// A request with a URI, From, To, Call-ID and CSeq, and nothing else.
cpsip_msg_ptr NewRequest(cpsip_method method = cpsip_method::invite);
// What NewRequest(invite) is between the start line and the rest, without Via and Route.
inline constexpr std::string_view kPlainHead =
    "From: <sip:alice@10.0.0.1>\r\n"
    "To: <sip:bob@10.0.0.2>\r\n"
    "Call-ID: 1@10.0.0.1\r\n";

// A session of one audio medium in `slot` of the message, with its text borrowed.
void PutSession(cpsip_msg& msg);
void PutSecondSession(cpsip_msg& msg);
inline constexpr std::string_view kSessionPool = "hark10.0.0.1talk";
inline constexpr std::string_view kSecondSessionPool = "negotiated-10.0.0.77-answer";

// The filled bytes of a chain, one block behind the other, and how many each block has.
std::string ChainText(const cpsip_osa_buf* head);
std::vector<unsigned> UsedOfBlocks(const cpsip_osa_buf* head);

struct Formatted {
  int result;
  std::string wire;
  std::vector<unsigned> used;  // of its blocks
};
Formatted Format(cpsip_msg_ptr& msg, std::string_view route = {});
// The wire text of a message that formats without error.
std::string Wire(cpsip_msg_ptr& msg, std::string_view route = {});
// The lines of the headers that begin with `start`, without their line ends, in their order.
std::vector<std::string> LinesWith(std::string_view wire, std::string_view start);

// The same of NewRequest() after `prepare` has changed it.
template <typename Prepare>
std::vector<std::string> Lines(std::string_view start, Prepare&& prepare) {
  cpsip_msg_ptr msg = NewRequest();
  prepare(*msg);
  return LinesWith(Wire(msg), start);
}

// What `action` reported on standard output.
template <typename Action>
std::string ReportsOf(Action&& action) {
  ::testing::internal::CaptureStdout();
  action();
  return ::testing::internal::GetCapturedStdout();
}

}  // namespace hark::test
