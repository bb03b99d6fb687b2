// What the gateway answers over HTTP/1.1, as text. A reply is for a page that loads nothing from elsewhere
// and is shown in no frame; the headers say so to the browser.
#pragma once

#include <string>
#include <string_view>

namespace hark::panel_gateway {

struct HttpRequest {
  std::string_view path;  // without its query
  bool get = false;       // neither of both: another method
  bool head = false;
  bool has_body = false;  // it announces one
};

struct HttpReply {
  std::string text;        // status line, headers, body
  bool keep_open = false;  // the connection may serve a further request
};

// A file of the page, or why there is none.
[[nodiscard]] HttpReply answer(const HttpRequest& request);
// A refusal in words: 400, 403, 404, 405, 426.
[[nodiscard]] HttpReply refusal(int status, std::string_view why, bool head = false);

}  // namespace hark::panel_gateway
