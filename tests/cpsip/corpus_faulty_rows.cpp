// One fault each: what is dropped, what is kept to be answered, and what is taken all the same.
#include <array>

#include "cpsip/corpus_rows.h"

namespace hark::test {
namespace {

// Name, result, complete, scan_status, bytes behind it, fields.
constexpr std::array<MessageRow, 27> kFaultyRows{{
    {"faulty-cseq-eleven-digits", 0, true, 400, 0, "CSeq=4294967295\nCSeq.method=1"},
    {"faulty-doubled-comma", 0, true, 400, 0,
     "Supported.count=1\nSupported[1].parm1=replaces\nSupported[1].parm2=timer\nSupported[1].parm3="},
    {"faulty-doubled-semicolon", 0, true, 400, 0,
     "Via[1].port=5060\nVia[1].parm1=branch=z9hG4bKds\nVia[1].parm2="},
    {"faulty-ends-in-header", 0, false, 0, 0, nullptr},
    {"faulty-expires-ten-digits", 0, true, 400, 0, "Expires=0"},
    {"faulty-expires-word", 0, true, 400, 0, "Expires=0"},
    {"faulty-line-feeds-only", 0, false, 0, 0, nullptr},
    {"faulty-name-addr-open", 5, false, 0, 0, nullptr},
    {"faulty-no-blank-line", 0, false, 0, 0, nullptr},
    {"faulty-no-colon", 1, false, 0, 0, nullptr},
    {"faulty-one-line", 0, false, 0, 0, nullptr},
    // A ";" ends a parameter inside quotes too.
    {"faulty-open-quote", 0, true, 0, 0, "From.parm1=note=\"open\nFrom.parm2=tag=f1"},
    {"faulty-sdp-1025", 0, true, 413, 0, "Content-Length=1025\nContent-Type.kind=1\nsdp.media="},
    {"faulty-sdp-without-name", 37, false, 0, 0,
     "method=1\nContent-Type.kind=1\nCall-ID=sdp-without-name@192.168.20.66"},
    {"faulty-second-content-length", 0, true, 400, 4, "Content-Length=0\nContent-Length.seen=1"},
    {"faulty-second-content-type", 0, true, 400, 0, "Content-Type=text/html\nContent-Type.kind=3"},
    {"faulty-second-replaces", 0, true, 481, 0, "Replaces=a@b;to-tag=1;from-tag=2"},
    {"faulty-second-to", 0, true, 400, 0, "To.uri=sip:4110@192.168.20.5"},
    {"faulty-short-body", 34, false, 0, 0,
     "Content-Length=400\nCall-ID=short-body@192.168.20.66\nsdp.media="},
    {"faulty-short-body-answer", 0, false, 0, 0, nullptr},
    {"faulty-start-line", 2, false, 0, 0, nullptr},
    {"faulty-token-300", 0, true, 0, 0, "unknown.count=1"},
    {"faulty-token-301", 6, false, 0, 0, nullptr},
    {"faulty-version-20", 0, true, 400, 0, "method=1\nuri=sip:4110@192.168.20.5"},
    {"faulty-version-3", 0, true, 505, 0, "method=1\nuri=sip:4110@192.168.20.5"},
    {"faulty-via-without-host", 1, false, 0, 0, nullptr},
    {"softphone-keepalive", 0, false, 0, 0, nullptr},
}};

}  // namespace

std::span<const MessageRow> faulty_rows() { return kFaultyRows; }

}  // namespace hark::test
