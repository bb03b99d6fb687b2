// What a session description of the far end says, as text for the control layer.
#include "sipua/SipLine.h"

#include <array>
#include <string_view>

#include "base/text.h"

namespace hark {
namespace {

// Room for any format: its three texts, its numbers and what stands between them.
using EntryText = std::array<char, 3 * (kCpsdpMaxText + 1) + 32>;

void append_text(TextWriter& out, const char* before, std::string_view text) {
  if (!text.empty()) out.append("%s%.*s", before, static_cast<int>(text.size()), text.data());
}

std::string_view write_entry(EntryText& entry, bool remap, const cpsdp_media& media, std::size_t i,
                             std::string_view pool) {
  TextWriter out(entry);
  if (remap && media.fmt_local[i] != media.fmt[i]) out.append("+%u ", unsigned{media.fmt_local[i]});
  out.append("%u=", unsigned{media.fmt[i]});
  append_text(out, "", media.rtp_name[i].in(pool));
  out.append("/%lu", static_cast<unsigned long>(media.rtp_rate[i]));
  append_text(out, "/", media.rtp_param[i].in(pool));
  append_text(out, " ", media.fmtp[i].in(pool));
  return {entry.data(), static_cast<std::size_t>(out.length())};
}

}  // namespace

std::size_t GetCommonCodecList(bool bRemap, std::span<char> out, const cpsdp_parms* parms,
                               std::string_view pool) {
  TextWriter list(out);
  if (parms == nullptr || parms->media[0] == nullptr) return 0;
  const cpsdp_media& media = *parms->media[0];
  const std::size_t formats = cpsdp_counted(media.fmt, media.fmt_count).size();
  for (std::size_t i = 0; i < formats; ++i) {
    EntryText text;
    const std::string_view entry = write_entry(text, bRemap, media, i, pool);
    const std::string_view joint = i != 0 ? "|" : "";
    // A real list is far from filling it: a session description has a limit of its own.
    if (list.rest().size() < joint.size() + entry.size() + 1) return i;
    list.append("%s%.*s", joint.data(), static_cast<int>(entry.size()), entry.data());
  }
  return formats;
}

int GetMediaPortAndAddress(std::span<char> out, const cpsdp_parms* parms, std::string_view pool) {
  TextWriter text(out);
  if (parms == nullptr || pool.data() == nullptr || parms->media[0] == nullptr) return 0;
  const cpsdp_text& where = parms->c_address.empty() ? parms->o_address : parms->c_address;
  append_text(text, "", where.in(pool));
  text.append(":%u", unsigned{parms->media[0]->m_port});
  return 1;
}

std::size_t SipLine::ReadCodecs(bool bRemap, const cpsdp_parms* parms, std::string_view pool) {
  return GetCommonCodecList(bRemap, m_szCodecs, parms, pool);
}

void SipLine::ReadMedia(const cpsip_msg& msg) {
  (void)GetMediaPortAndAddress(m_szMediaAddress, msg.sdp.get(), msg.sdp_text.view());
}

void SipLine::ForgetMedia() {
  m_szCodecs[0] = '\0';
  m_szMediaAddress[0] = '\0';
}

}  // namespace hark
