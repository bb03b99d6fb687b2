// Comparisons that throw a Failure which says both sides.
#pragma once

#include <string>

#include "scenarios/runner/scenario.h"
#include "scenarios/runner/sip_text.h"
#include "scenarios/runner/words.h"

namespace hark::test {

// `known` is what the far end knows of its call, `captured` what the scenario has captured, to which the
// words of the pattern are added.
void ExpectText(const std::string& pattern, const std::string& text, const Variables& known,
                Variables& captured, int line);

// "name: pattern" against the fact of that name.
void ExpectFact(const Line& detail, const Variables& facts, const Variables& known, Variables& captured);

// A message that came out against a step's text ("180 Ringing (INVITE)", "BYE sip:far@host") and its details:
// "Header: pattern" for its instances in order, "-Header" for one that must not be there, "sdp: entries" for
// a description, "-body", and "| pattern" for a line of the body.
void ExpectMessage(const Step& step, const SipText& message, const Variables& known, Variables& captured);

}  // namespace hark::test
