// Desk phones, line gateways, trunks, mixing consoles, audio codecs and softphones.
#include "cpsip/corpus_rows.h"

#include <array>

namespace hark::test {
namespace {

// Name, result, complete, scan_status, bytes behind it, fields.
constexpr std::array<MessageRow, 44> kDeviceRows{{
    {"codec-answer", 0, true, 0, 0,
     "method=0\nstatus=200\nCSeq=1\nCSeq.method=1\nContact[1].display=\"Studio\"\nServer=audiocodec-7\n"
     "To.parm1=tag=st1\nsdp.media=1\nsdp.address=172.16.9.12"},
    {"codec-invite", 0, true, 0, 0,
     "method=1\nFrom.display=\"Outside Broadcast 3\"\nFrom.parm1=tag=ob3\nSubject=stadium\n"
     "User-Agent=audiocodec-12\nAllow[1].parm5=OPTIONS\nCall-ID=codec1-ob3\nVia[1].parm2=rport\nsdp.media=1\n"
     "sdp.address=172.16.9.11"},
    {"codec-sdp-1024", 0, true, 0, 0, "Content-Length=1024\nsdp.length=1024\nsdp.media=1"},
    {"console-blanks", 0, true, 0, 0,
     "method=5\nVia[1].transport=UDP\nVia[1].host=172.16.8.3 \nVia[1].parm1=branch=z9hG4bKconsole4\n"
     "To.uri=sip:return2@172.16.8.20\nFrom.uri=sip:fader13@172.16.8.3\nCall-ID=console4@172.16.8.3\n"
     "Max-Forwards=70\nunknown.count=0"},
    {"console-folded", 0, true, 0, 0,
     "Via[1].port=5060   \nVia[1].parm1=branch=z9hG4bKconsole3   \nVia[1].parm2=rport\n"
     "From.display=\"Fader 13\"  "
     "\nFrom.uri=sip:fader13@172.16.8.3\nFrom.parm1=tag=c3\nCSeq=3\nCSeq.method=1\n"
     "Contact[1].uri=sip:fader13@172.16.8.3\nSupported.count=1\nSupported[1].parm1=replaces\n"
     "Supported[1].parm2=timer"},
    {"console-lower-case", 0, true, 0, 0,
     "From.uri=sip:fader12@172.16.8.3\nUser-Agent=console\nMax-Forwards=70\nunknown.count=0\nsdp.media=1"},
    {"console-upper-case", 0, true, 0, 0,
     "method=3\nVia[1].parm1=BRANCH=z9hG4bKconsole2\nFrom.parm1=TAG=c1\nTo.parm1=TAG=c2\nCSeq=2\n"
     "unknown.count=0"},
    {"desk-phone-ack", 0, true, 0, 0,
     "method=2\nCSeq.method=2\nTo.parm1=tag=41-ring-9\nContent-Length.seen=1"},
    {"desk-phone-answer", 0, true, 0, 0,
     "status=200\nreason=OK\nRecord-Route.count=2\nRecord-Route[1].uri=sip:10.20.0.1;lr\n"
     "Record-Route[2].uri=sip:192.168.20.1:5060;lr;did=77c\nVia[1].parm2=rport=5060\n"
     "Via[1].parm3=received=192.168.20.5\nsdp.media=1"},
    {"desk-phone-bye", 0, true, 0, 0, "method=3\nCSeq=2\nunknown.count=1\nUser-Agent=deskphone/1.4.2"},
    {"desk-phone-cancel", 0, true, 0, 0, "method=4\nCSeq=101\nCSeq.method=4\nTo.parm1=\nunknown.count=1"},
    {"desk-phone-hold", 0, true, 0, 0, "method=1\nCSeq=3\nTo.parm1=tag=h77c1\nSubject=hold\nsdp.media=1"},
    {"desk-phone-invite", 0, true, 0, 0,
     "uri=sip:4110@192.168.20.5\nFrom.display=\"Studio 1 Desk\"\nFrom.uri=sip:4101@192.168.20.5\n"
     "Contact[1].parm1=+sip.instance=\"<urn:uuid:00000000-0000-1000-8000-0a1b2c3d4e41>\"\nAllow.count=1\n"
     "Allow[1].parm13=PUBLISH\nSupported[1].parm4=norefersub\nAllow-Events[1].parm4=dialog\n"
     "Accept[1].parm1=application/sdp\nContent-Type.kind=1\nsdp.media=1\nsdp.address=192.168.20.41"},
    {"desk-phone-invite-replaces", 0, true, 0, 0,
     "Replaces=9a1c@192.168.20.41;to-tag=h9a1c;from-tag=41-9a1c\nRequire[1].parm1=replaces\n"
     "Referred-By.uri=sip:4110@192.168.20.41"},
    {"desk-phone-notify-active", 0, true, 0, 0,
     "method=10\nSubscription-State=active\nSubscription-State.id=2\nEvent=refer\nEvent.id=0\nEvent.id_parm="
     "0\n"
     "Content-Type.kind=2\nContent-Length=20"},
    {"desk-phone-notify-sipfrag", 0, true, 0, 0,
     "Subscription-State=terminated\nSubscription-State.id=0\nEvent=refer\nEvent.id_parm=93809824\n"
     "Content-Type.kind=2\nbody=SIP/2.0 200 OK"},
    {"desk-phone-notify-waiting", 0, true, 0, 0,
     "Subscription-State.id=1\nEvent.id=2\nContent-Type.kind=3\n"
     "Content-Type=application/simple-message-summary\nContent-Length=49\nFrom.uri=sip:mail@192.168.20.5"},
    {"desk-phone-refer-replaces", 0, true, 0, 0,
     "method=9\nRefer-To.uri=sip:4120@192.168.20.5?Replaces=9a1c%40192.168.20.41%3Bto-tag%3Dh9a1c%3Bfrom-tag"
     "%3D41-9a1c\nReferred-By.display=\"Desk\"\nReferred-By.uri=sip:4110@192.168.20.41\nReplaces="},
    {"desk-phone-ringing", 0, true, 0, 0,
     "status=180\nreason=Ringing\nVia[1].parm2=rport=5060\nTo.parm1=tag=41-ring-9\nTo.display="},
    {"gateway-busy-486", 0, true, 0, 0,
     "status=486\nreason=Busy Here\nFrom.uri=sip:4101@192.168.20.5\nFrom.parm1=tag=b486\nunknown.count=1"},
    {"gateway-challenge-401", 0, true, 0, 0, "status=401\nCSeq=1\nCSeq.method=0\nunknown.count=1"},
    {"gateway-challenge-407", 0, true, 0, 0,
     "status=407\nreason=Proxy Authentication Required\nCSeq.method=1\nunknown.count=1\nunknown[1].line="
     "Proxy-Authenticate: Digest realm=\"pbx.example.net\", nonce=\"77:5f3a9c0e1b77\",   stale=false, "
     "algorithm=MD5, qop=\"auth,auth-int\""},
    {"gateway-early-media", 0, true, 0, 0,
     "status=183\nreason=Session Progress\nRequire[1].parm1=100rel\nServer=linegateway 3\nunknown.count=2\n"
     "Contact[1].uri=sip:00005550123@10.20.0.1:5060;transport=udp\nsdp.media=1\nsdp.address=10.20.0.1"},
    {"gateway-invite-credentials", 0, true, 0, 0, "Expires=180\nMax-Forwards=69\nunknown.count=1"},
    {"gateway-options-answer", 0, true, 0, 0,
     "Allow.count=2\nAllow[1].parm10=INFO\nAllow[2].parm1=SUBSCRIBE \nAllow[2].parm2=MESSAGE\n"
     "Supported[1].parm4=path\nUnsupported[1].parm1=gruu\nAccept[1].parm2=application/media_control+xml\n"
     "unknown.count=2"},
    {"gateway-options-ping", 0, true, 0, 0,
     "method=5\nuri=sip:192.168.20.5:5060\nFrom.uri=sip:ping@10.20.0.1\nTo.uri=sip:192.168.20.5\nTo.parm1=\n"
     "Accept[1].parm2=application/dtmf-relay"},
    {"gateway-trying", 0, true, 0, 0,
     "status=100\nreason=Trying\nVia[1].parm2=received=10.20.0.5\nFrom.parm1=tag=gw5\n"
     "To.uri=sip:00005550123@10.20.0.1\nCall-ID=gw5@192.168.20.5"},
    {"softphone-blank-lines-first", 0, true, 0, 0, "method=5\nCall-ID=bl1@192.168.20.77\nVia.count=1"},
    {"softphone-bytes-behind-body", 0, true, 0, 12, "Content-Length=5\nbody=Hello\nunknown_method=MESSAGE"},
    {"softphone-info-dtmf", 0, true, 0, 0,
     "method=99\nunknown_method=INFO\nContent-Type=application/dtmf-relay\nContent-Length=24"},
    {"softphone-ipv6", 0, true, 0, 0,
     // A Via's host ends at the first colon. It is put together again on the way out.
     "uri=sip:4110@[2001:db8:20::5]:5060\nVia[1].host=[2001\nVia[1].port=db8:20::77]:5062\n"
     "From.uri=sip:soft@[2001:db8:20::77]\nFrom.parm1=tag=six1\n"
     "Contact[1].uri=sip:soft@[2001:db8:20::77]:5062;transport=udp;ob\nContact[1].parm1=expires=300\n"
     "sdp.address=2001:db8:20::77"},
    {"softphone-message", 0, true, 0, 0,
     "unknown_method=MESSAGE\nCSeq.method=99\nContent-Type=text/plain\nContent-Type.parm1=charset=utf-8\n"
     "Content-Type.kind=3\nbody=Stand by, two minutes."},
    {"softphone-multipart", 0, true, 0, 0,
     "method=1\nContent-Type.kind=3\nContent-Type=multipart/mixed\nContent-Type.parm1=boundary=cut-here-1\n"
     "sdp.media=\nunknown.count=1"},
    {"softphone-no-content-length", 0, true, 0, 0,
     "Content-Length.seen=0\nContent-Length=98\nsdp.length=98\nsdp.media=1"},
    {"softphone-notify-dialog", 0, true, 489, 0, "Event=dialog\nSubscription-State.id=2"},
    {"softphone-notify-init", 0, true, 400, 0, "Event.id=0\nSubscription-State=init"},
    {"softphone-prack", 0, true, 0, 0, "unknown_method=PRACK\nCSeq=2\nunknown.count=1"},
    {"softphone-subscribe", 0, true, 0, 0,
     "unknown_method=SUBSCRIBE\nEvent.id=1\nExpires=3600\nAccept[1].parm1=application/pidf+xml"},
    {"trunk-comma-vias", 0, true, 0, 0,
     "Via.count=3\nVia[1].host=203.0.113.9\nVia[1].port=5060\nVia[1].parm1=branch=z9hG4bKtr2.2\n"
     "Via[2].host=203.0.113.10\nVia[2].port=5062\nVia[2].parm1=branch=z9hG4bKtr2.1 \n"
     "Via[3].host=198.51.100.21\nVia[3].port=\nVia[3].parm1=branch=z9hG4bKtr2.0\nRecord-Route.count=2\n"
     "Record-Route[2].uri=sip:203.0.113.10:5062;lr"},
    {"trunk-compact", 0, true, 0, 0,
     "From.display=\"Caller\"\nTo.uri=sip:4101@192.168.20.5\nCall-ID=tr4@203.0.113.9\n"
     "Contact[1].uri=sip:1@203.0.113.9\nSubject=programme return\nSupported.count=0\nunknown.count=3\n"
     "Allow-Events[1].parm1=dialog\nAllow-Events[1].parm2=refer\nReferred-By.uri=sip:desk@trunk.example.org\n"
     "Expires=0\nsdp.media=1"},
    {"trunk-invite", 0, true, 0, 0,
     "uri=sip:+10005550142@station.example.org;user=phone\nVia.count=2\nVia[2].parm1=received=198.51.100.21\n"
     "Via[2].parm2=rport=5060\nVia[2].parm3=branch=z9hG4bKtr1.0\nMax-Forwards=68\nCSeq=20045\n"
     "From.uri=sip:anonymous@anonymous.invalid\nRecord-Route[1].uri=sip:203.0.113.9;lr;ftag=tr1\n"
     "unknown.count=9\nSupported[1].parm3=histinfo\nAllow[1].parm7=UPDATE\nsdp.address=198.51.100.30"},
    {"trunk-moved-302", 0, true, 0, 0,
     "status=302\nContact.count=2\nContact[1].display=\"Night "
     "desk\"\nContact[1].uri=sip:4301@trunk.example.org\n"
     "Contact[1].parm1=q=0.9\nContact[2].display=\nContact[2].uri=sip:4302@203.0.113.9:5070\n"
     "Contact[2].parm1=q=0.5"},
    {"trunk-unavailable-503", 0, true, 0, 0, "status=503\nreason=Service Unavailable\nunknown.count=1"},
    {"trunk-via-list-loses-host", 0, true, 0, 0,
     "Via.count=2\nVia[1].transport=UDP\nVia[1].host=\nVia[2].transport=UDP\nVia[2].host=core.example.net"},
}};

}  // namespace

std::span<const MessageRow> device_rows() { return kDeviceRows; }

}  // namespace hark::test
