#include "daemon/qnrlib/linereader.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstring>

namespace hark {
namespace {

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

}  // namespace

ssize_t LineReader::receive(int fd) {
  std::memmove(text_.data(), text_.data() + head_, tail_ - head_);
  tail_ -= head_;
  head_ = 0;
  const ssize_t got = ::recv(fd, text_.data() + tail_, kMaxLine - tail_, 0);
  tail_ = got > 0 ? tail_ + static_cast<std::size_t>(got) : 0;
  return got;
}

const char* LineReader::next() {
  char* const begin = text_.data() + head_;
  char* const tail = text_.data() + tail_;
  char* end = std::find_if(begin, tail, is_line_end);
  if (end == tail) return nullptr;
  *end = '\0';
  end = std::find_if_not(end + 1, tail, is_line_end);
  head_ = static_cast<std::size_t>(end - text_.data());
  return begin;
}

}  // namespace hark
