#include "cpsip/cpsip_msg.h"

#include <new>

#include "cpsip/cpapp.h"

namespace hark {

void cpsip_field_pool::grow(std::size_t at) {
  std::unique_ptr<Chunk> chunk(at + kPartsHere < kMaxChunks ? new (std::nothrow) Chunk : nullptr);
  if (chunk == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_msg));
  if (at < kListedHere) {
    next_[at] = std::move(chunk);
  } else {
    if (more_.empty()) more_.reserve(kFirstMore);
    more_.push_back(std::move(chunk));
  }
}

cpsip_msg_ptr CPSIP_MsgCreate(bool with_buffer) {
  cpsip_msg_ptr msg(new (std::nothrow) cpsip_msg);
  if (msg == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_msg));
  if (with_buffer) msg->chain.reset(cpsip_osa_buf_alloc(kBuildBlockSize));
  return msg;
}

void CPSIP_MsgDelete(cpsip_msg_ptr msg) { msg.reset(); }

std::uint16_t cpsip_msg_alloc_field_ptr(cpsip_msg& msg) { return msg.fields.alloc(); }

cpsip_field* cpsip_msg_get_field_ptr_using_idx(cpsip_msg& msg, std::uint16_t index) {
  if (index >= msg.fields.count()) {
    (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
    return nullptr;
  }
  return &msg.fields[index];
}

}  // namespace hark
