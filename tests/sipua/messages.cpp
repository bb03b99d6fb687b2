#include "sipua/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "cpsip/cpsip_msg_access.h"

namespace hark::test {
namespace {

void put(cpsip_msg& msg, std::uint32_t field, std::string_view text) {
  EXPECT_EQ(cpsip_msg_write(msg, field, 1, 1, text), 0);
}

cpsip_msg_ptr make(cpsip_method method) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->method = method;
  return with_uris(std::move(msg), kFarUri, kNearUri);
}

void parse(std::string_view text, std::unique_ptr<cpsdp_parms>& parms, cpsip_sdp_text& pool) {
  auto copy = std::make_unique<char[]>(text.size());
  std::copy(text.begin(), text.end(), copy.get());
  parms = std::make_unique<cpsdp_parms>();
  EXPECT_EQ(CPSDP_ParseSession({copy.get(), text.size()}, *parms), 0) << text;
  pool.own(std::move(copy), static_cast<std::uint32_t>(text.size()));
}

}  // namespace

cpsip_msg_ptr make_request(cpsip_method method) {
  cpsip_msg_ptr msg = make(method);
  msg->cseq_method = method;
  return msg;
}

cpsip_msg_ptr make_response(unsigned code, cpsip_method request) {
  cpsip_msg_ptr msg = make(cpsip_method::response);
  msg->status_code = static_cast<std::uint16_t>(code);
  msg->cseq_method = request;
  return msg;
}

cpsip_msg_ptr make_status(unsigned code, cpsip_method request) {
  cpsip_msg_ptr msg = make_response(code, request);
  msg->method = cpsip_method::local_status;
  return msg;
}

cpsip_msg_ptr with_uris(cpsip_msg_ptr msg, std::string_view from, std::string_view to) {
  put(*msg, CPSIP_FLD_FROM_URI, from);
  put(*msg, CPSIP_FLD_TO_URI, to);
  return msg;
}

cpsip_msg_ptr with_contact(cpsip_msg_ptr msg, std::string_view uri) {
  put(*msg, CPSIP_FLD_CONTACT_URI, uri);
  return msg;
}

cpsip_msg_ptr with_sdp(cpsip_msg_ptr msg, std::string_view text) {
  parse(text, msg->sdp, msg->sdp_text);
  return msg;
}

cpsip_msg_ptr with_negotiated(cpsip_msg_ptr msg, std::string_view text) {
  parse(text, msg->sdp2, msg->sdp2_text);
  for (cpsdp_media* media : {msg->sdp2->media[0].get()})
    if (media != nullptr) media->fmt_local = media->fmt;
  return msg;
}

cpsip_msg_ptr make_offer() { return with_negotiated(with_sdp(make_request(cpsip_method::invite))); }

}  // namespace hark::test
