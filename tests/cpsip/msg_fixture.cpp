// Reading, writing, building and formatting of messages for the tests.
#include "cpsip/msg_fixture.h"

#include <algorithm>
#include <memory>

namespace hark::test {
namespace {

constexpr char kUntouched = '\x7F';

cpsdp_text TextAt(std::string_view pool, std::string_view text) {
  return {static_cast<std::uint8_t>(text.size()), static_cast<std::uint16_t>(pool.find(text))};
}

std::unique_ptr<cpsdp_parms> Session(std::string_view pool, std::string_view user, std::string_view address,
                                     std::string_view name) {
  auto parms = std::make_unique<cpsdp_parms>();
  parms->o_username = TextAt(pool, user);
  parms->o_session_id = 7;
  parms->o_session_version = 8;
  parms->o_address = parms->c_address = TextAt(pool, address);
  parms->s_name = TextAt(pool, name);
  parms->m_count = 1;
  parms->media[0] = std::make_unique<cpsdp_media>();
  parms->media[0]->m_port = 5004;
  parms->media[0]->fmt_count = 2;
  parms->media[0]->fmt[1] = 8;
  return parms;
}

}  // namespace

FieldRead Read(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm, std::uint32_t offset,
               std::uint32_t max) {
  std::string buffer(max + 1, kUntouched);
  std::uint32_t length = 0xDEAD;
  FieldRead read{0, {}, 0};
  read.result =
      CPSIP_MsgAccess(true, msg, id, instance, parm, offset, max, buffer.data(), length, read.remaining);
  if (read.result == kAccessOk) {
    EXPECT_LE(length, max);
    EXPECT_EQ(buffer[std::min(length, max)], kUntouched) << "no NUL, nothing behind the text";
    read.text = buffer.substr(0, length);
  }
  return read;
}

std::string Text(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm) {
  const FieldRead read = Read(msg, id, instance, parm);
  EXPECT_EQ(read.result, kAccessOk) << "field " << id << " instance " << instance << " parameter " << parm;
  return read.text;
}

int Write(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm, std::string_view text) {
  std::string buffer(text);
  auto length = static_cast<std::uint32_t>(text.size());
  std::uint32_t remaining = 0;
  return CPSIP_MsgAccess(false, msg, id, instance, parm, 0, 0, buffer.data(), length, remaining);
}

void Put(cpsip_msg& msg, std::uint32_t id, std::string_view text, unsigned instance, unsigned parm) {
  EXPECT_EQ(Write(msg, id, instance, parm, text), kAccessOk) << "field " << id << ": " << text.substr(0, 80);
}

std::vector<std::string> Parms(cpsip_msg& msg, std::uint32_t id, unsigned instance) {
  std::vector<std::string> parms;
  for (unsigned number = 1; number < 1000; ++number) {
    FieldRead read = Read(msg, id, instance, number);
    if (read.result != kAccessOk) {
      EXPECT_EQ(read.result, kAccessNoParameter);
      return parms;
    }
    parms.push_back(std::move(read.text));
  }
  ADD_FAILURE() << "the parameters of field " << id << " do not end";
  return parms;
}

std::string Pattern(std::size_t length) {
  std::string text;
  for (std::size_t at = 0; text.size() < length; ++at) {
    text += std::to_string(at) + static_cast<char>('a' + at % 26);
  }
  text.resize(length);
  return text;
}

std::uint16_t PoolText(cpsip_msg& msg, std::string_view text) {
  Put(msg, CPSIP_FLD_START_LINE, text);
  const std::uint16_t index = cpsip_msg_alloc_field_ptr(msg);
  msg.fields[index] = msg.start_line;
  msg.start_line = {};
  return index;
}

cpsip_msg_ptr NewRequest(cpsip_method method) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->method = msg->cseq_method = method;
  msg->cseq = 1;
  Put(*msg, CPSIP_FLD_REQUEST_URI, "sip:bob@10.0.0.2");
  Put(*msg, CPSIP_FLD_FROM_URI, "sip:alice@10.0.0.1");
  Put(*msg, CPSIP_FLD_TO_URI, "sip:bob@10.0.0.2");
  Put(*msg, CPSIP_FLD_CALL_ID, "1@10.0.0.1");
  return msg;
}

void PutSession(cpsip_msg& msg) {
  msg.sdp = Session(kSessionPool, "hark", "10.0.0.1", "talk");
  msg.sdp_text.borrow(kSessionPool);
}

void PutSecondSession(cpsip_msg& msg) {
  msg.sdp2 = Session(kSecondSessionPool, "negotiated", "10.0.0.77", "answer");
  msg.sdp2_text.borrow(kSecondSessionPool);
}

std::string ChainText(const cpsip_osa_buf* head) {
  std::string text;
  for (; head != nullptr; head = head->next)
    text += head->text();
  return text;
}

std::vector<unsigned> UsedOfBlocks(const cpsip_osa_buf* head) {
  std::vector<unsigned> used;
  for (; head != nullptr; head = head->next)
    used.push_back(head->used);
  return used;
}

Formatted Format(cpsip_msg_ptr& msg, std::string_view route) {
  cpsip_osa_chain out;
  const int result = cpsip_msg_format(*msg, route, out);
  return {result, ChainText(out.get()), UsedOfBlocks(out.get())};
}

std::string Wire(cpsip_msg_ptr& msg, std::string_view route) {
  Formatted formatted = Format(msg, route);
  EXPECT_EQ(formatted.result, 0);
  return std::move(formatted.wire);
}

std::vector<std::string> LinesWith(std::string_view wire, std::string_view start) {
  std::vector<std::string> lines;
  while (!wire.empty()) {
    const std::size_t end = wire.find("\r\n");
    if (end == std::string_view::npos || end == 0) break;
    if (wire.starts_with(start)) lines.emplace_back(wire.substr(0, end));
    wire.remove_prefix(end + 2);
  }
  return lines;
}

}  // namespace hark::test
