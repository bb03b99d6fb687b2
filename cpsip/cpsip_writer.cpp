// The writers of the formatter: text into a chain of blocks.

#include "cpsip/cpsip_msg_format.h"

namespace hark {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// The parts of a field's text, block by block.
template <typename Take>
void for_each_part(const cpsip_field& field, Take take) {
  std::string_view part = cpsip_field_view(field);
  std::size_t left = field.length;
  for (const cpsip_osa_buf* block = field.buf; left != 0;) {
    part = part.substr(0, left);
    take(part);
    left -= part.size();
    block = block->next;
    if (block == nullptr) return;
    part = block->text();
  }
}

bool begins_with(const cpsip_field& field, char c) {
  const std::string_view view = cpsip_field_view(field);
  return !view.empty() && view.front() == c;
}

}  // namespace

void cpsip_osa_writer::spill(std::string_view text) {
  while (!text.empty()) {
    if (block->room() == 0) block = block->next = cpsip_osa_buf_alloc(block->capacity);
    const std::size_t part = text.copy(block->data() + block->used, block->room());
    block->used = static_cast<std::uint16_t>(block->used + part);
    text.remove_prefix(part);
  }
}

void cpsip_msg_copy_osa_buf_field_to_osa_buf(const cpsip_field& field, cpsip_osa_writer& out) {
  const std::string_view view = cpsip_field_view(field);
  if (view.size() == field.length) {
    cpsip_msg_copy_str_to_osa_buf(view, out);
  } else {
    for_each_part(field, [&](std::string_view part) { cpsip_msg_copy_str_to_osa_buf(part, out); });
  }
}

std::size_t cpsip_msg_copy_osa_buf_field_to_str(const cpsip_field& field, char* dest) {
  std::size_t length = 0;
  for_each_part(field, [&](std::string_view part) { length += part.copy(dest + length, part.size()); });
  return length;
}

void cpsip_msg_copy_name_addr_to_osa_buf(const cpsip_field& display, const cpsip_field& uri,
                                         cpsip_osa_writer& out) {
  if (display.length != 0) {
    cpsip_msg_copy_str_to_osa_buf(" ", out);
    cpsip_msg_copy_osa_buf_field_to_osa_buf(display, out);
  }
  if (uri.length == 0) return;
  const bool has_brackets = begins_with(uri, '<');
  cpsip_msg_copy_str_to_osa_buf(has_brackets ? " " : " <", out);
  cpsip_msg_copy_osa_buf_field_to_osa_buf(uri, out);
  if (!has_brackets) cpsip_msg_copy_str_to_osa_buf(">", out);
}

void cpsip_msg_copy_parms_to_osa_buf(const cpsip_msg& msg, std::uint16_t index, cpsip_osa_writer& out) {
  for (; index != 0; index = msg.fields[index].next_parm) {
    if (msg.fields[index].length == 0) continue;
    cpsip_msg_copy_str_to_osa_buf(";", out);
    cpsip_msg_copy_osa_buf_field_to_osa_buf(msg.fields[index], out);
  }
  cpsip_msg_copy_str_to_osa_buf(kLineEnd, out);
}

void cpsip_msg_copy_comma_parms_to_osa_buf(const cpsip_msg& msg, std::uint16_t index, cpsip_osa_writer& out) {
  for (; index != 0; index = msg.fields[index].next_parm) {
    cpsip_msg_copy_osa_buf_field_to_osa_buf(msg.fields[index], out);
    if (msg.fields[index].next_parm != 0) cpsip_msg_copy_str_to_osa_buf(", ", out);
  }
  cpsip_msg_copy_str_to_osa_buf(kLineEnd, out);
}

void cpsip_msg_copy_field_using_idx_to_osa_buf(const cpsip_msg& msg, char separator, std::uint16_t& index,
                                               cpsip_osa_writer& out) {
  constexpr char kLineEndSeparator = 13;
  const cpsip_field& field = msg.fields[index];
  cpsip_msg_copy_osa_buf_field_to_osa_buf(field, out);
  if (separator == kLineEndSeparator) {
    cpsip_msg_copy_str_to_osa_buf(kLineEnd, out);
  } else if (separator != 0) {
    cpsip_msg_copy_str_to_osa_buf({&separator, 1}, out);
  }
  index = field.next_hdr;
}

}  // namespace hark
