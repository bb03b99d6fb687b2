// The wrapper through which the user agent touches a message of the stack: it owns the message unless told
// otherwise, remembers the dialog that it came with, and hands out the few headers that the lines need as
// text, with the storage for them inside. A large object, which lives on the stack of the handler that uses
// it.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "cpsip/cpsip_msg.h"

namespace hark {

class SipMsg {
 public:
  static constexpr std::size_t kTextSize = 300;

  // *Takes* the message, which may be null. `dialog` is an opaque handle. A handler that is going to send
  // something makes SipMsg(nullptr, (void*)1).
  SipMsg(cpsip_msg* msg, void* dialog);
  ~SipMsg();
  SipMsg(const SipMsg&) = delete;
  SipMsg& operator=(const SipMsg&) = delete;

  // Deletes the message, if there is one.
  void Destroy();
  // Forgets the message without deleting it: its ownership has gone elsewhere.
  void Clear();
  [[nodiscard]] cpsip_msg* GetPtr() const { return m_pMsg; }
  [[nodiscard]] void* GetDialogId() const { return m_hDialog; }
  // Writes the application's dialog word into the message, if there is one.
  void SetAppDialogId(unsigned long id);

  // Makes a message to send if there is none, and sets its method and the dialog handle.
  void Create(cpsip_method method, void* context);
  // The same for a response to a `request` of that method.
  void CreateResponse(cpsip_method request, unsigned short code, const char* reason, void* context);

  // Each is true when the text was written; false without a message.
  bool SetURI(const char* uri);
  bool SetContact(const char* uri);
  bool SetFromDisplayName(const char* name);
  bool SetFromURI(const char* uri);
  bool SetReason(const char* reason);

  // The status code; 0 without a message.
  [[nodiscard]] unsigned short GetResponseCode() const;
  // Each text is cut to 299 characters, is in a buffer of its own, and *valid until* the next call of the
  // same function. Null without a message; empty when the header is absent.
  const char* GetFromURI();
  const char* GetToURI();
  const char* GetContactURI();
  // The user part of the URI.
  const char* GetFromName();
  const char* GetToName();

  // Asks the send path to attach the service's own session description. 1; 0 without a message.
  int IncludeDefaultSDP();

  // The user part of `uri`: a leading "sip:" (but not "sips:", nor another case) is skipped; then it goes up
  // to the first "@", without one to the first ":", without one to the first ";", else to the end. Cut to
  // limit - 1 characters, NUL at its end. Requires `limit` bytes at `dst`; nothing is written for a limit of
  // 0.
  static void CopyNameFromURI(char* dst, const char* uri, unsigned int limit);
  // The method's name for diagnostics.
  [[nodiscard]] static const char* GetMethodText(cpsip_method method);

 private:
  using Text = std::array<char, kTextSize>;
  [[nodiscard]] bool Set(std::uint32_t field, const char* text);
  const char* Get(std::uint32_t field, Text& out);

  cpsip_msg* m_pMsg;  // owned, until Clear
  void* m_hDialog;
  Text m_szFromUri{};
  Text m_szToUri{};
  Text m_szFromName{};
  Text m_szToName{};
  Text m_szContactUri{};
};

}  // namespace hark
