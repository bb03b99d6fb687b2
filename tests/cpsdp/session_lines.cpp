#include "cpsdp/session_lines.h"

#include <utility>

namespace hark::test {
namespace {

class Teller {
 public:
  explicit Teller(std::string_view pool) : pool_(pool) {}

  Lines tell(const cpsdp_parms& parms) {
    origin(parms);
    text("s", parms.s_name), text("i", parms.i_info), text("u", parms.u_uri);
    texts("e", parms.e_count, parms.e_email), texts("p", parms.p_count, parms.p_phone);
    shared("", parms);
    text("r", parms.r_repeat), text("z", parms.z_zone), text("k", parms.k_key);
    texts("a", parms.a_count, parms.a_attr);
    lines_.push_back("m.count=" + std::to_string(parms.m_count));
    for (std::size_t at = 0; at < parms.m_count; ++at)
      medium("m[" + std::to_string(at + 1) + "]", *parms.media[at]);
    return std::move(lines_);
  }

 private:
  std::string of(const cpsdp_text& text) const { return std::string(text.in(pool_)); }

  void text(const std::string& name, const cpsdp_text& text) {
    if (!text.empty()) lines_.push_back(name + "=" + of(text));
  }

  template <typename Texts>
  void texts(const std::string& name, std::size_t count, const Texts& texts) {
    for (std::size_t at = 0; at < count; ++at)
      text(name + "[" + std::to_string(at + 1) + "]", texts[at]);
  }

  void origin(const cpsdp_parms& parms) {
    if (parms.o_address.empty() && parms.o_username.empty()) return;
    lines_.push_back("o=" + of(parms.o_username) + " " + std::to_string(parms.o_session_id) + " " +
                     std::to_string(parms.o_session_version) + " " +
                     std::to_string(static_cast<unsigned>(parms.o_addr_type)) + " " + of(parms.o_address));
  }

  // c= and b=, of the session and of a medium.
  template <typename Record>
  void shared(const std::string& before, const Record& record) {
    if (!record.c_address.empty()) {
      lines_.push_back(before + "c=" + std::to_string(static_cast<unsigned>(record.c_addr_type)) + " " +
                       of(record.c_address));
    }
    if (!record.b_type.empty()) {
      lines_.push_back(before + "b=" + of(record.b_type) + ":" + std::to_string(record.b_value));
    }
  }

  void format(const std::string& name, const cpsdp_media& media, std::size_t at) {
    std::string line = name + "=" + std::to_string(media.fmt[at]);
    if (!media.rtp_name[at].empty()) line += " " + of(media.rtp_name[at]);
    if (media.rtp_rate[at] != 0) line += "/" + std::to_string(media.rtp_rate[at]);
    if (!media.rtp_param[at].empty()) line += "/" + of(media.rtp_param[at]);
    if (!media.fmtp[at].empty()) line += " [" + of(media.fmtp[at]) + "]";
    lines_.push_back(line);
  }

  void medium(const std::string& name, const cpsdp_media& media) {
    lines_.push_back(name + "=" + std::to_string(static_cast<unsigned>(media.m_type)) + " " +
                     std::to_string(media.m_port) + "/" + std::to_string(media.m_nports) + " " +
                     std::to_string(static_cast<unsigned>(media.m_proto)) + " " +
                     std::to_string(media.fmt_count));
    text(name + ".i", media.i_info), text(name + ".k", media.k_key);
    shared(name + ".", media);
    for (std::size_t at = 0; at < media.fmt_count; ++at)
      format(name + ".fmt[" + std::to_string(at + 1) + "]", media, at);
    if (media.ptime != 0) lines_.push_back(name + ".ptime=" + std::to_string(media.ptime));
    if (media.direction != cpsdp_direction::none) {
      lines_.push_back(name + ".direction=" + std::to_string(static_cast<unsigned>(media.direction)));
    }
    texts(name + ".a", media.a_count, media.a_attr);
  }

  std::string_view pool_;
  Lines lines_;
};

}  // namespace

Lines session_lines(const cpsdp_parms& parms, std::string_view pool) { return Teller(pool).tell(parms); }

void parse(std::string text, Parsed& parsed) {
  parsed.pool = std::move(text);
  parsed.reason = CPSDP_ParseSession(parsed.pool, parsed.parms);
}

}  // namespace hark::test
