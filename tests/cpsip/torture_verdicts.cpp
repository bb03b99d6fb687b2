#include "cpsip/torture_verdicts.h"

#include <array>

namespace hark::test {
namespace {

constexpr cpsip_method kResponse = cpsip_method::response;
constexpr cpsip_method kInvite = cpsip_method::invite;
constexpr cpsip_method kOptions = cpsip_method::options;
constexpr cpsip_method kOther = cpsip_method::unrecognized;  // REGISTER and MESSAGE too
constexpr Outcome kTaken = Outcome::kTaken;

// Name, section, outcome, result, scan_status; method, status, CSeq, Vias, bytes behind it; fields; what
// differs from the RFC's hope.
constexpr std::array<TortureVerdict, 49> kVerdicts{{
    // 3.1.1: valid messages.
    {"wsinv", "3.1.1.1", kTaken, 0, 0, kInvite, 0, 9, 3, 0,
     "uri=sip:vivekg@chair-dnrc.example.com;unknownparam\n"
     "To.uri=sip:vivekg@chair-dnrc.example.com \n"
     "To.parm1=tag    = 1918181833n\n"
     "From.display=\"J Rosenberg \\\\\\\"\"      \n"
     "From.uri=sip:jdrosen@example.com\n"
     "From.parm1=tag = 98asjd8\n"
     "Max-Forwards=68\n"
     "CSeq.method=1\n"
     "Via[1].transport=UDP\n"
     "Via[1].host=192.0.2.2\n"
     "Via[1].parm1=branch=390skdjuw\n"
     "Via[2].transport=TCP\n"
     "Via[2].host=spindle.example.com   \n"
     "Via[2].parm1=branch  =   z9hG4bK9ikj8  \n"
     "Via[3].transport=UDP\n"
     "Via[3].host=192.168.255.111   \n"
     "Via[3].parm1=branch=   z9hG4bK30239\n"
     "Contact.count=1\n"
     "Contact[1].display=\"Quoted string \\\"\\\"\"\n"
     "Contact[1].uri=sip:jdrosen@example.com\n"
     "Contact[1].parm1=newparam =        newvalue \n"
     "Contact[1].parm2=secondparam \n"
     "Contact[1].parm3=q = 0.33\n"
     "Route[1].uri=sip:services.example.com;lr;unknownwith=value;unknown-no-value\n"
     "unknown.count=2\n"
     "sdp.media=2\n"
     "sdp.address=192.0.2.4",
     nullptr},
    {"intmeth", "3.1.1.2", kTaken, 0, 0, kOther, 0, 139122385, 1, 0,
     "unknown_method=!interesting-Method0123456789_*+`.%indeed'~\n"
     "uri=sip:1_unusual.URI~(to-be!sure)&isn't+it$/crazy?,/;;*:&it+has=1,weird!*pas$wo~d_too.(doesn't-it)"
     "@example.com\n"
     "CSeq.method=99\n"
     "To.display=\"BEL:\\ NUL:\\ DEL:\\\"\n"
     "To.uri=sip:1_unusual.URI~(to-be!sure)&isn't+it$/crazy?,/;;*@example.com\n"
     "From.display=token1~` token2'+_ token3*%!.-\n"
     "From.uri=sip:mundane@example.com\n"
     "From.parm1=fromParam''~+*_!.-%=\"\xD1\x80\xD0\xB0\xD0\xB1\xD0\xBE\xD1\x82\xD0\xB0\xD1\x8E\xD1\x89\xD0"
     "\xB8\xD0\xB9\"\n"
     "From.parm2=tag=_token~1'+`*%!-.\n"
     "Call-ID=intmeth.word%ZK-!.*_+'@word`~)(><:\\/\"][?}{\n"
     "Max-Forwards=255\n"
     "unknown.count=1",
     "the control characters of the quoted display name are dropped from it"},
    {"esc01", "3.1.1.3", kTaken, 0, 0, kInvite, 0, 234234, 1, 0,
     "uri=sip:sips%3Auser%40example.com@example.net\n"
     "To.uri=sip:%75se%72@example.com\n"
     "From.uri=sip:I%20have%20spaces@example.net\n"
     "Contact[1].uri=sip:cal%6Cer@host5.example.net;%6C%72;n%61me=v%61lue%25%34%31\n"
     "Contact[1].parm1=",
     nullptr},
    {"escnull", "3.1.1.4", kTaken, 0, 0, kOther, 0, 14398234, 1, 0,
     "unknown_method=REGISTER\n"
     "Contact.count=2\n"
     "Contact[1].uri=sip:%00@host5.example.com\n"
     "Contact[2].uri=sip:%00%00@host5.example.com",
     nullptr},
    {"esc02", "3.1.1.5", kTaken, 0, 0, kOther, 0, 29344, 1, 0,
     "unknown_method=RE%47IST%45R\n"
     "To.display=\"%Z%45\"\n"
     "Contact.count=2\n"
     "Contact[2].uri=sip:alias3@host3.example.com\n"
     "unknown.count=1",
     nullptr},
    {"lwsdisp", "3.1.1.6", kTaken, 0, 0, kOptions, 0, 60, 1, 0,
     "From.display=caller\nFrom.uri=sip:caller@example.com\nFrom.parm1=tag=323", nullptr},
    {"longreq", "3.1.1.7", Outcome::kDropped, 6, 0, kInvite, 0, 0, 0, 0, "",
     "it is valid; but the URI of its To and its unknown header are longer than the 300 bytes of a token"},
    {"dblreq", "3.1.1.8", kTaken, 0, 0, kOther, 0, 8, 1, 450,
     "unknown_method=REGISTER\nCall-ID=dblreq.0ha0isndaksdj99sdfafnl3lk233412\nsdp.media=", nullptr},
    {"semiuri", "3.1.1.9", kTaken, 0, 0, kOptions, 0, 8, 1, 0,
     "uri=sip:user;par=u%40example.net@example.com\n"
     "Accept.count=1\n"
     "Accept[1].parm2=application/pkcs7-mime\n"
     "Accept[1].parm3=multipart/mixed\n"
     "Accept[1].parm6=message/sipfrag",
     nullptr},
    {"transports", "3.1.1.10", kTaken, 0, 0, kOptions, 0, 60, 5, 0,
     "Call-ID=transports.kijh4akdnaqjkwendsasfdj\n"
     "Via[2].transport=SCTP\nVia[3].transport=TLS\nVia[4].transport=UNKNOWN\nVia[5].transport=TCP\n"
     "Via[5].host=t5.example.com",
     nullptr},
    {"mpart01", "3.1.1.11", kTaken, 0, 0, kOther, 0, 1, 1, 0,
     "unknown_method=MESSAGE\n"
     "Via[1].port=5070\nVia[1].parm2=rport\n"
     "Route[1].uri=sip:127.0.0.1:5080\n"
     "unknown.count=3\n"
     "Content-Type.kind=3\nContent-Type=multipart/mixed\nContent-Type.parm1=boundary=7a9cbec02ceef655\n"
     "Content-Length=553",
     nullptr},
    {"unreason", "3.1.1.12", kTaken, 0, 0, kResponse, 200, 35, 1, 0,
     "reason== 2**3 * 5**2 \xD0\xBD\xD0\xBE \xD1\x81\xD1\x82\xD0\xBE \xD0\xB4\xD0\xB5\xD0\xB2\xD1\x8F\xD0\xBD"
     "\xD0\xBE\xD1\x81\xD1\x82\xD0\xBE \xD0\xB4\xD0\xB5\xD0\xB2\xD1\x8F\xD1\x82\xD1\x8C - \xD0\xBF\xD1\x80"
     "\xD0\xBE\xD1\x81\xD1\x82\xD0\xBE\xD0\xB5\n"
     "sdp.media=2",
     nullptr},
    {"noreason", "3.1.1.13", kTaken, 0, 0, kResponse, 100, 35, 1, 0, "reason=\nTo.parm1=tag=902jndnke3",
     nullptr},
    // 3.1.2: invalid messages.
    {"badinv01", "3.1.2.1", Outcome::kDropped, 1, 400, kInvite, 0, 0, 0, 0, "",
     "it is to be answered 400; but an answer goes back by the Via, and the Via list cannot be read"},
    {"clerr", "3.1.2.2", Outcome::kRefused, 34, 0, kInvite, 0, 8, 1, 0,
     "Content-Length=9999\nContact[1].uri=sip:caller@hungry.example.net", nullptr},
    {"ncl", "3.1.2.3", Outcome::kRefused, 34, 0, kInvite, 0, 0, 1, 0,
     "Content-Length=4294966297\nMax-Forwards=254", nullptr},
    {"scalar02", "3.1.2.4", kTaken, 0, 400, kOther, 0, 4294967295, 1, 0,
     "unknown_method=REGISTER\nMax-Forwards=44\nExpires=0\nContact[1].parm1=expires=280297596632815",
     nullptr},
    {"scalarlg", "3.1.2.5", kTaken, 0, 400, kResponse, 503, 4294967295, 1, 0,
     "CSeq.method=5\nunknown.count=2\nVia[1].parm2=received=192.0.2.129",
     "it is to be dropped; the scanner only marks it, and what is marked is left to the user agent"},
    {"quotbal", "3.1.2.6", kTaken, 0, 0, kInvite, 0, 8, 1, 0,
     "To.display=\"Mr. J. User\nTo.uri=sip:j.user@example.com\nVia[1].port=5050",
     "it is to be answered 400; but quotes do not count in a display name, and the URI can be read"},
    {"ltgtruri", "3.1.2.7", kTaken, 0, 0, kInvite, 0, 1, 1, 0, "uri=<sip:user@example.com>\nsdp.media=2",
     "it is to be answered 400; but the scanner takes the Request-URI as it stands, and does not look into "
     "it"},
    {"lwsruri", "3.1.2.8", kTaken, 0, 400, kInvite, 0, 2130706432, 1, 0,
     "uri=sip:user@example.com;\nsdp.media=2", nullptr},
    {"lwsstart", "3.1.2.9", kTaken, 0, 0, kInvite, 0, 1893884, 1, 0,
     "uri=sip:user@example.com\nMax-Forwards=8", nullptr},
    {"trws", "3.1.2.10", kTaken, 0, 400, kOptions, 0, 238923, 1, 0, "uri=sip:remote-target@example.com",
     nullptr},
    {"escruri", "3.1.2.11", kTaken, 0, 0, kInvite, 0, 149209342, 1, 0,
     "uri=sip:user@example.com?Route=%3Csip:example.com%3E\nRoute.count=0",
     "it is to be answered 400; but the scanner takes the Request-URI as it stands, and does not look into "
     "it"},
    {"baddate", "3.1.2.12", kTaken, 0, 0, kInvite, 0, 1392934, 1, 0, "unknown.count=1\nsdp.media=2", nullptr},
    {"regbadct", "3.1.2.13", kTaken, 0, 0, kOther, 0, 1, 1, 0,
     "unknown_method=REGISTER\nContact[1].uri=sip:user@example.com?Route=%3Csip:sip.example.com%3E",
     "it is to be answered 400; the scanner ends a bare URI at \";\" only, and REGISTER is no method of "
     "ours"},
    {"badaspec", "3.1.2.14", kTaken, 0, 0, kOptions, 0, 3923239, 1, 0,
     "To.display=\"Watson, Thomas\"\nTo.uri=sip:t.watson@example.org ", nullptr},
    {"baddn", "3.1.2.15", Outcome::kUnfinished, 0, 0, kOptions, 0, 0, 0, 0, "",
     "it may be taken or be answered 400; but its file ends without the empty line, so its headers do not "
     "end"},
    {"badvers", "3.1.2.16", kTaken, 0, 505, kOptions, 0, 1, 1, 0,
     "Via[1].host=c.example.com\nFrom.display=A. Bell", nullptr},
    {"mismatch01", "3.1.2.17", kTaken, 0, 0, kOptions, 0, 8, 1, 0, "CSeq.method=1",
     "it is to be answered 400; the scanner keeps both methods, and comparing them is left to the user "
     "agent"},
    {"mismatch02", "3.1.2.18", kTaken, 0, 0, kOther, 0, 8, 1, 0,
     "unknown_method=NEWMETHOD\nCSeq.method=1\nsdp.media=2",
     "it is to be answered 501 or 400; the scanner keeps both methods, and comparing them is left to the "
     "user agent"},
    {"bigcode", "3.1.2.19", kTaken, 0, 0, kResponse, 65535, 353494, 1, 0,
     "reason=better not break the receiver",
     "it is to be dropped; but the scanner holds the status to its field, and any number is one"},
    // 3.2: transaction layer.
    {"badbranch", "3.2.1", kTaken, 0, 0, kOptions, 0, 8, 1, 0, "Via[1].parm1=branch=z9hG4bK", nullptr},
    // 3.3: application layer.
    {"insuf", "3.3.1", kTaken, 0, 0, kInvite, 0, 193942, 1, 0, "To.uri=\nFrom.uri=\nCall-ID=\nsdp.media=2",
     "it is to be answered 400; the scanner leaves absent headers empty, and missing them is left to the "
     "user agent"},
    {"unkscm", "3.3.2", kTaken, 0, 0, kOptions, 0, 3923423, 1, 0,
     "uri=nobodyKnowsThisScheme:totallyopaquecontent", nullptr},
    {"novelsc", "3.3.3", kTaken, 0, 0, kOptions, 0, 3923423, 1, 0, "uri=soap.beep://192.0.2.103:3002",
     nullptr},
    {"unksm2", "3.3.4", kTaken, 0, 0, kOther, 0, 234902, 1, 0,
     "To.uri=isbn:2983792873\nFrom.uri=http://www.example.com\nContact[1].uri=name:John_Smith", nullptr},
    {"bext01", "3.3.5", kTaken, 0, 0, kOptions, 0, 8, 1, 0,
     "Require.count=1\nRequire[1].parm1=nothingSupportsThis\nRequire[1].parm2=nothingSupportsThisEither\n"
     "Proxy-Require.count=1\nProxy-Require[1].parm2=norDoAnyProxiesSupportThis",
     nullptr},
    {"invut", "3.3.6", kTaken, 0, 0, kInvite, 0, 235448, 1, 0,
     "Content-Type.kind=3\nContent-Type=application/unknownformat\nContent-Length=40", nullptr},
    {"regaut01", "3.3.7", kTaken, 0, 0, kOther, 0, 9338, 1, 0, "unknown.count=1\nContent-Length.seen=1",
     nullptr},
    {"multi01", "3.3.8", kTaken, 0, 400, kInvite, 0, 59, 1, 0,
     "Call-ID=multi01.98asdh@192.0.2.2\nTo.uri=sip:user@example.com\nFrom.uri=sip:caller@example.com\n"
     "From.parm1=tag=3413415\nMax-Forwards=5\nContact.count=2",
     nullptr},
    {"mcl01", "3.3.9", kTaken, 0, 400, kOptions, 0, 15932, 1, 54, "Content-Length=13\nbody=There's no wa",
     nullptr},
    {"bcast", "3.3.10", kTaken, 0, 0, kResponse, 200, 35, 2, 0,
     "Via[2].host=255.255.255.255\nsdp.address=192.0.2.198",
     "it is to be dropped for its second Via; the scanner does not count the Vias of a response"},
    {"zeromf", "3.3.11", kTaken, 0, 0, kOptions, 0, 39234321, 1, 0, "Max-Forwards=0", nullptr},
    {"cparam01", "3.3.12", kTaken, 0, 0, kOther, 0, 2, 1, 0,
     "Contact[1].uri=sip:+19725552222@gw1.example.net\nContact[1].parm1=unknownparam", nullptr},
    {"cparam02", "3.3.13", kTaken, 0, 0, kOther, 0, 3, 1, 0,
     "Contact[1].uri=sip:+19725552222@gw1.example.net;unknownparam\nContact[1].parm1=", nullptr},
    {"regescrt", "3.3.14", kTaken, 0, 0, kOther, 0, 14398234, 1, 0,
     "Contact[1].uri=sip:user@example.com?Route=%3Csip:sip.example.com%3E", nullptr},
    {"sdp01", "3.3.15", kTaken, 0, 0, kInvite, 0, 8, 1, 0,
     "Accept[1].parm1=text/nobodyKnowsThis\nsdp.media=2", nullptr},
    // 3.4: backward compatibility.
    {"inv2543", "3.4.1", kTaken, 0, 0, kInvite, 0, 56, 1, 0,
     "Content-Length.seen=0\nContent-Length=105\nsdp.media=1\nFrom.parm1=\n"
     "Record-Route[1].uri=sip:UserB@example.com;maddr=ss1.example.com",
     nullptr},
}};

}  // namespace

std::span<const TortureVerdict> torture_verdicts() { return kVerdicts; }

}  // namespace hark::test
