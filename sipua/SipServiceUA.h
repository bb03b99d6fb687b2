// One SIP identity of the station: a service of the stack on one port, with its own lines, payload types and
// session description. It is the single entry for what the stack delivers, finds the line for it, and sends
// for the lines.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cpsip/cpsip_address.h"
#include "cpsip/cpsip_service.h"
#include "sipua/SipLineManager.h"
#include "sipua/SipMsg.h"
#include "sipua/SipPayloads.h"
#include "sipua/TimerSource.h"

namespace hark {

class SipStackUA;

// What a service is made of. Addresses and ports are in host order.
struct SipServiceConfig {
  std::uint32_t localIp = 0;
  std::uint16_t localPort = 0;
  std::uint32_t publicIp = 0;  // advertised; the station's multicast media address
  std::uint16_t publicPort = 0;
  std::uint32_t altIp = 0;
  std::string payloadTypes;                // such as "96=L24/48000/2"; empty: none
  std::optional<std::string> displayName;  // may be empty; none: `user` stands for it
  std::string user;                        // the identity, "hark-talk@a.b.c.d;tags"
  std::string domain;                      // also the outbound route; empty: none
  unsigned lines = 0;
  bool matchNumber = false;
  bool partialTailMatch = false;
  std::uint16_t rtpPort = 0;
  bool allowMissingMedia = false;  // an answered call without any session description may connect
};

// The word that the stack carries on every message of a dialog: the line in bits 0 to 14, bit 15 always set,
// so that line 0 is not "no line", and the generation of the line's calls in bits 16 to 31.
[[nodiscard]] constexpr std::uint32_t app_dialog_word(unsigned line, unsigned short appDialogId) {
  return (line & 0x7FFFU) | 0x8000U | std::uint32_t{appDialogId} << 16U;
}

// Shared by its slot in the stack with whatever runs in it: any event may end the service. One that has ended
// sends nothing and tells nothing, so that what is left of a command finds nothing to do, and its successor
// in the slot gets no events of it.
class SipServiceUA : public std::enable_shared_from_this<SipServiceUA> {
 public:
  static constexpr std::size_t kMaxUriText = 256;
  static constexpr std::size_t kMaxDisplayName = 191;
  static constexpr std::size_t kMaxRoute = 128;

  // A service of the stack with all its lines idle, or null when it cannot be made; payload types that cannot
  // be read are told as a service error. Borrows `stack` and `timers`.
  [[nodiscard]] static std::unique_ptr<SipServiceUA> Create(SipStackUA& stack, TimerSource& timers,
                                                            unsigned serviceIndex,
                                                            const SipServiceConfig& config);
  // As Close, and ends the lines.
  ~SipServiceUA();
  SipServiceUA(const SipServiceUA&) = delete;
  SipServiceUA& operator=(const SipServiceUA&) = delete;

  // Ends the stack's service, whose dialogs are told to the lines, and with it all sending and telling.
  void Close();

  // Whether the stack has accepted the service, and it has not been closed.
  [[nodiscard]] bool IsValid() const { return m_bValid; }
  // What it is made of.
  [[nodiscard]] const SipServiceConfig& config() const { return m_Config; }

  // What the stack delivers. The message stays the caller's.
  void InstanceCallback(SipMsg& msg);

  // Each sends a message for a line, and leaves `msg` empty: the stack has it, whatever the outcome; without
  // a service of the stack `msg` is left alone. True on success. The second makes a dialog, whose handle is
  // in `dialog` before anything is sent.
  bool SendMsg(SipMsg& msg, void* dialog, unsigned short line, unsigned short appDialogId);
  bool SendMsgNewDialog(SipMsg& msg, void*& dialog, unsigned short line, unsigned short appDialogId);

  // The lines: as SipLineManager.
  int MapNumberToLine(unsigned line, const char* number) { return m_pLines.MapNumberToLine(line, number); }
  [[nodiscard]] SipLine* GetLineByIndex(unsigned line) { return m_pLines.GetLineByIndex(line); }
  [[nodiscard]] SipLine* GetFreeLine() { return m_pLines.GetFreeLine(); }
  [[nodiscard]] SipLine* GetFreeLineByNumber(const char* number) {
    return m_pLines.GetFreeLineByNumber(number);
  }

  // How many payload types it has. Without any it has no description to offer.
  [[nodiscard]] std::size_t GetSdpPTCnt() const { return m_Payloads.types().size(); }
  [[nodiscard]] bool AllowMissingMedia() const { return m_Config.allowMissingMedia; }
  [[nodiscard]] TimerSource* GetTimerSource() const { return &m_pTimerSource; }
  // The session description that it offers, with the pool of its texts; empty without payload types.
  [[nodiscard]] const cpsdp_parms& default_sdp() const { return m_DefaultSdp; }
  [[nodiscard]] std::string_view default_sdp_pool() const { return {m_SdpPool.data(), m_nSdpPoolSize}; }
  // What it has told the stack of itself.
  [[nodiscard]] const cpsip_ua_parms& ua_parms() const { return m_Ua; }
  [[nodiscard]] const cpsip_xport_parms& xport_parms() const { return m_Transport; }

  // Each puts the service's index in front and passes the event up.
  void NotifyServiceError(unsigned error, const char* text) const;
  void NotifyLineRing(unsigned line, SipMsg& msg) const;
  void NotifyLineConnected(unsigned line, const char* fromUri, const char* toUri, const char* mediaAddress,
                           const char* codecs) const;
  void NotifyFarEndRinging(unsigned line) const;
  void NotifyFarEndDrop(unsigned line) const;
  void NotifyLocalDrop(unsigned line) const;
  void NotifyLineSeized(unsigned line) const;
  void NotifyLineState(unsigned line, ISipStackUAEvents::ESipLineState state) const;
  void NotifyLineError(unsigned line, unsigned error, const char* text) const;
  void NotifyCodecs(unsigned line, const char* codecs) const;

 private:
  SipServiceUA(SipStackUA& stack, TimerSource& timers, unsigned serviceIndex, const SipServiceConfig& config);
  // The texts and records that the stack is given.
  void InitConfigAndTransport();
  void InitAddresses();
  void InitIdentity();
  void InitUa();
  void InitTransport();
  // False when the payload types cannot be read.
  [[nodiscard]] bool InitPayloads();
  // Makes the stack's service.
  void Start();
  // The line for a new call, which gets the message's dialog; null when none is free.
  SipLine* AllocateLine(SipMsg& msg, unsigned short& appDialogId);
  // The line of the message, a new one for a new call.
  SipLine* FindLine(SipMsg& msg, unsigned short& appDialogId);
  void Deliver(SipMsg& msg);
  void OnRegistration(const SipMsg& msg) const;
  void Reject(const SipMsg& msg);
  [[nodiscard]] bool Send(SipMsg& msg, void** dialog, unsigned short line, unsigned short appDialogId);

  // The receiver's table; one without any slot when the service has ended.
  [[nodiscard]] const ISipStackUAEvents& Events() const;

  SipStackUA& m_pStack;
  TimerSource& m_pTimerSource;
  const unsigned m_nServiceIndex;
  const SipServiceConfig m_Config;
  bool m_bValid = false;
  bool m_bClosed = false;
  void* m_hService = nullptr;  // the stack's service
  cpsip_xport_parms m_Transport;
  cpsip_ua_parms m_Ua;
  cpsip_address_text m_szLocalIp{};  // each empty for address 0
  cpsip_address_text m_szPublicIp{};
  cpsip_address_text m_szAltIp{};
  std::string m_szFromUri;
  std::string m_szContactUri;
  std::string m_szDisplayName;
  std::string m_szRoute;  // the domain and ";lr"
  SipPayloads m_Payloads;
  cpsdp_parms m_DefaultSdp;
  std::array<char, kCpsdpMaxEncoded> m_SdpPool;
  std::size_t m_nSdpPoolSize = 0;
  SipLineManager m_pLines;
};

}  // namespace hark
