// What the far end knows of one call: it fills in the headers that a scenario leaves out, as RFC 3261 wants
// them, and looks at every message that comes out for what holds of all of them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "scenarios/runner/sip_text.h"
#include "scenarios/runner/words.h"

namespace hark::test {

class FarCall {
 public:
  explicit FarCall(const std::string& name);

  // A request of the far end: in the dialog once the stack has given a tag. "INVITE" or "INVITE sip:x@y".
  [[nodiscard]] SipText Request(const std::string& start, const Variables& addresses, int line);
  // A response, such as "180 Ringing", to the last request of the method that came out; an empty method means
  // the last request but ACK.
  [[nodiscard]] SipText Response(const std::string& start, const std::string& method,
                                 const Variables& addresses, int line) const;
  // What was sent, as it went out.
  void Sent(const SipText& message);
  // What came out. The text says what is wrong with it; empty: nothing. With `lost` the far end has not seen
  // it.
  [[nodiscard]] std::string Received(const SipText& message, bool lost);

  // $callid, $fartag, $ourtag, $cseq, $branch, as far as they are known.
  [[nodiscard]] Variables variables() const;

 private:
  [[nodiscard]] std::string ReceivedRequest(const SipText& message);
  [[nodiscard]] std::string ReceivedResponse(const SipText& message);
  [[nodiscard]] std::string Uri(const Variables& addresses) const;

  std::string name_;
  std::string call_id_;  // empty until the first message of either side
  bool caller_ = false;  // the far end sent the first request
  std::string far_tag_;
  std::string our_tag_;
  unsigned long cseq_ = 0;                   // of the far end's last request that counts
  unsigned branches_ = 0;                    // how many the far end has made
  std::string branch_;                       // the last one
  unsigned final_ = 0;                       // final status of the far end's last INVITE
  std::string last_method_;                  // of the last request that came out, but ACK
  std::map<std::string, SipText> sent_;      // the last request of each method
  std::vector<SipText> requests_;            // all that were sent
  std::map<std::string, SipText> received_;  // the last request of each method
};

}  // namespace hark::test
