#include "cpsdp/cpsdp.h"

#include <new>

#include "cpsip/cpapp.h"

namespace hark {
namespace {

constexpr std::size_t kStaticPayloads = 35;

// The text of each static payload number. Kept: it differs from the published table (RFC 3551) in places, and
// far stations compare what they have always been sent.
constexpr std::array<std::string_view, kStaticPayloads> make_static_payloads() {
  std::array<std::string_view, kStaticPayloads> texts{};
  texts[0] = " PCMU/8000";
  texts[3] = " GSM/8000";
  texts[4] = " G723/8000";
  texts[5] = " DVI4U/8000";
  texts[6] = " DVI4U/16000";
  texts[7] = " LPC/8000";
  texts[8] = " PCMA/8000";
  texts[9] = " G722/8000";
  texts[10] = " L16/44100/2";
  texts[11] = " L16/44100";
  texts[12] = " QCELP/8000";
  texts[13] = " CN/8000";
  texts[14] = " MPA/90000";
  texts[15] = " G728/8000";
  texts[16] = " DVI4U/11025";
  texts[17] = " DVI4U/22050";
  texts[18] = " G729/8000";
  texts[25] = " CelB/90000";
  texts[26] = " JPEG/90000";
  texts[28] = " nv/90000";
  texts[31] = " H261/90000";
  texts[32] = " MPV/90000";
  texts[33] = " MP2T/90000";
  texts[34] = " H263/90000";
  return texts;
}

constexpr std::array<std::string_view, kStaticPayloads> kStaticPayloadTexts = make_static_payloads();

template <typename Record>
std::unique_ptr<Record> checked(Record* record) {
  if (record == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsdp));
  return std::unique_ptr<Record>(record);
}

}  // namespace

std::string_view cpsdp_static_payload(std::uint16_t number) {
  return number < kStaticPayloadTexts.size() ? kStaticPayloadTexts[number] : std::string_view{};
}

void cpsdp_parms::copy_from(const cpsdp_parms& other) {
  if (this == &other) return;
  cpsdp_session::operator=(other);
  for (std::size_t i = 0; i < media.size(); ++i) {
    media[i].reset();
    if (other.media[i] != nullptr) media[i] = checked(new (std::nothrow) cpsdp_media(*other.media[i]));
  }
}

std::unique_ptr<cpsdp_parms> cpsdp_parms::clone() const {
  std::unique_ptr<cpsdp_parms> copy = checked(new (std::nothrow) cpsdp_parms);
  copy->copy_from(*this);
  return copy;
}

}  // namespace hark
