// The table of callbacks by which the SIP user agent tells the control layer what happens, and the states of
// a line.
#pragma once

namespace hark {

struct cpsip_msg;

// A plain record: every slot may be null, and the operation of the same name then does nothing. Services and
// lines are indices. Texts are valid during the call. Called synchronously, from inside ProcessMessages or
// from inside the command that caused the event; a receiver may call back.
struct ISipStackUAEvents {
  // States of a line. The values cross this border and are fixed.
  enum ESipLineState : unsigned {
    STATE_IDLE = 0,
    STATE_RINGING = 1,
    STATE_SEIZED = 2,
    STATE_CALLING = 3,
    STATE_CONNECTED = 4,
    STATE_CANCELING = 5,
    STATE_DISCONNECTING = 6,
  };

  struct Slots {
    void (*ServiceError)(unsigned service, unsigned error, const char* text) = nullptr;
    void (*ServiceCreate)(unsigned service) = nullptr;
    void (*ServiceDestroy)(unsigned service) = nullptr;
    void (*LineRing)(unsigned service, unsigned line, const char* fromUri, const char* toUri) = nullptr;
    void (*LineConnected)(unsigned service, unsigned line, const char* fromUri, const char* toUri,
                          const char* mediaAddress, const char* codecs) = nullptr;
    void (*LineRing2)(unsigned service, unsigned line, cpsip_msg* msg) = nullptr;
    void (*FarEndRinging)(unsigned service, unsigned line) = nullptr;
    void (*FarEndDrop)(unsigned service, unsigned line) = nullptr;
    void (*LocalDrop)(unsigned service, unsigned line) = nullptr;
    void (*LineSeized)(unsigned service, unsigned line) = nullptr;
    void (*LineState)(unsigned service, unsigned line, ESipLineState state) = nullptr;
    void (*LineError)(unsigned service, unsigned line, unsigned error, const char* text) = nullptr;
    void (*Codecs)(unsigned service, unsigned line, const char* codecs) = nullptr;
  } slots;

  void NotifyServiceError(unsigned service, unsigned error, const char* text) const;
  void NotifyServiceCreate(unsigned service) const;
  void NotifyServiceDestroy(unsigned service) const;
  void NotifyLineRing(unsigned service, unsigned line, const char* fromUri, const char* toUri) const;
  void NotifyLineConnected(unsigned service, unsigned line, const char* fromUri, const char* toUri,
                           const char* mediaAddress, const char* codecs) const;
  void NotifyLineRing2(unsigned service, unsigned line, cpsip_msg* msg) const;
  void NotifyFarEndRinging(unsigned service, unsigned line) const;
  void NotifyFarEndDrop(unsigned service, unsigned line) const;
  void NotifyLocalDrop(unsigned service, unsigned line) const;
  void NotifyLineSeized(unsigned service, unsigned line) const;
  void NotifyLineState(unsigned service, unsigned line, ESipLineState state) const;
  void NotifyLineError(unsigned service, unsigned line, unsigned error, const char* text) const;
  void NotifyCodecs(unsigned service, unsigned line, const char* codecs) const;
};

// Error numbers of NotifyServiceError.
inline constexpr unsigned kServiceErrorFailed = 10;
inline constexpr unsigned kServiceErrorIndex = 11;
inline constexpr unsigned kServiceErrorNull = 12;
inline constexpr unsigned kServiceErrorRegistration = 13;  // a registration that failed
inline constexpr unsigned kServiceErrorRegistered = 14;    // and one that did not, "OK"

// Error numbers of NotifyLineError. 300 and above are SIP status codes.
inline constexpr unsigned kLineErrorRefused = 50;
inline constexpr unsigned kLineErrorTimeout = 51;
inline constexpr unsigned kLineErrorMedia = 52;
inline constexpr unsigned kLineErrorIndex = 53;
inline constexpr unsigned kLineErrorNotSent = 54;
inline constexpr unsigned kLineErrorMap = 55;

}  // namespace hark
