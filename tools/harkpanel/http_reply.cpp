#include "tools/harkpanel/http_reply.h"

#include "tools/harkpanel/page_files.h"

namespace hark::panel_gateway {
namespace {

constexpr std::string_view kHeaders =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cache-Control: no-cache\r\n";

std::string_view phrase_of(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 400:
      return "Bad Request";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 426:
      return "Upgrade Required";
    default:
      return "Method Not Allowed";
  }
}

std::string head_of(int status, std::string_view type, std::size_t length) {
  std::string text = "HTTP/1.1 " + std::to_string(status) + " ";
  text.append(phrase_of(status)).append("\r\n").append(kHeaders);
  text.append("Content-Type: ").append(type).append("\r\n");
  text.append("Content-Length: ").append(std::to_string(length)).append("\r\n");
  return text;
}

}  // namespace

HttpReply answer(const HttpRequest& request) {
  if (!request.get && !request.head) return refusal(405, "only GET and HEAD are served");
  if (request.has_body) return refusal(400, "no body is wanted", request.head);
  const PageFile* file = find_page_file(request.path);
  if (file == nullptr) return refusal(404, "there is no such page", request.head);
  HttpReply reply{head_of(200, file->type, file->bytes.size()) + "\r\n", true};
  if (request.get) reply.text.append(file->bytes);
  return reply;
}

HttpReply refusal(int status, std::string_view why, bool head) {
  HttpReply reply{head_of(status, "text/plain; charset=utf-8", why.size() + 1), false};
  if (status == 405) reply.text.append("Allow: GET, HEAD\r\n");  // RFC 9110 15.5.6
  if (status == 426)
    reply.text.append("Upgrade: websocket\r\nSec-WebSocket-Version: 13\r\n");  // RFC 6455 4.4
  reply.text.append("Connection: close\r\n\r\n");
  if (!head) reply.text.append(why).append("\n");
  return reply;
}

}  // namespace hark::panel_gateway
