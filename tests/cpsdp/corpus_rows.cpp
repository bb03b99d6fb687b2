#include "cpsdp/corpus_rows.h"

#include <array>

namespace hark::test {
namespace {

// Name, error of the encoder, fields. m[n]= type, port/ports, protocol, formats.
constexpr std::array<BodyRow, 39> kBodyRows{{
    {"codec-mpeg-layer", 0,
     "m.count=1\nm[1]=0 5006/0 0 2\nm[1].fmt[1]=14 MPA/90000 [layer=2; bitrate=192000]\n"
     "m[1].fmt[2]=100 MP4A-LATM/48000/2 [profile-level-id=16;object=2;cpresent=0;config=400023203fc0]\n"
     "m[1].ptime=24"},
    {"codec-offer", 0,
     "b=AS:1600\na[1]=ebuacip:jb 0\na[2]=ebuacip:jbdef 0 auto 100-400\nm[1]=0 5004/0 0 6\n"
     "m[1].fmt[1]=111 opus/48000/2 [stereo=1;sprop-stereo=1;maxaveragebitrate=128000]\n"
     "m[1].fmt[2]=96 L24/48000/2\nm[1].fmt[3]=97 L16/48000/2\nm[1].fmt[5]=9 G722/8000\nm[1].ptime=4\n"
     "m[1].fmt[4]=98 mpeg4-generic/48000/2 [streamtype=5;profile-level-id=15;mode=AAC-hbr;config=1190;"
     "SizeLength=13;IndexLength=3;IndexDeltaLength=3]\n"
     "m[1].direction=1\nm[1].a[1]=ebuacip:plength 111 20\nm[1].a[3]=maxptime:20"},
    {"console-l16-eighth", 0,
     "m[1].fmt[1]=96 L16/48000/8\nc=0 239.65.1.13/15\nm[1].a[1]=framecount:6\nm[1].a[2]=mediaclk:direct=0"},
    {"console-l24-multicast", 0,
     "s=Fader 12\ni=2 channels: left, right\nc=0 239.65.1.12/32\na[1]=recvonly\nm[1].fmt[1]=98 L24/48000/2\n"
     "m[1].ptime=1\nm[1].a[1]=ts-refclk:ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D0:37\n"
     "m[1].a[2]=mediaclk:direct=963214424"},
    {"desk-phone-hold-inactive", 0, "o=- 8734 8736 0 192.0.2.41\na[1]=inactive\nm[1].direction=4"},
    {"desk-phone-hold-sendonly", 0, "o=- 8734 8735 0 192.0.2.41\nm[1].direction=3"},
    {"desk-phone-hold-zero-address", 0, "c=0 0.0.0.0\nm[1].fmt[2]=101 telephone-event/8000"},
    {"desk-phone-offer", 0,
     "o=deskphone 8734 8734 0 192.0.2.41\ns=call\nc=0 192.0.2.41\nm.count=1\nm[1]=0 11780/0 0 5\n"
     "m[1].fmt[1]=9 G722/8000\nm[1].fmt[4]=18 G729/8000 [annexb=no]\nm[1].fmt[5]=101 telephone-event/8000 "
     "[0-15]\n"
     "m[1].ptime=20\nm[1].direction=1"},
    {"desk-phone-static-only", 0, "m[1]=0 11782/0 0 3\nm[1].fmt[1]=0\nm[1].fmt[2]=8\nm[1].fmt[3]=18"},
    {"desk-phone-video", 0,
     "m.count=2\nb=AS:512\nm[2]=1 20002/0 0 2\nm[2].b=AS:448\n"
     "m[2].fmt[1]=99 H264/90000 [profile-level-id=42801F;packetization-mode=1]\n"
     "m[2].fmt[2]=34 H263/90000 [CIF=1;QCIF=1]"},
    {"empty", 0, "m.count=0"},
    {"garbage", 0, "m.count=0"},
    {"gateway-annexb", 0,
     "m[1].fmt[1]=18 G729/8000 [annexb=yes]\nm[1].fmt[3]=96 telephone-event/8000 "
     "[0-11,16]\nm[1].a[1]=maxptime:60"},
    {"gateway-contacts", 0,
     "i=Line to the news desk\nu=http://192.0.2.1/lines\ne[1]=desk@example.org\ne[2]=night@example.org\n"
     "p[1]=+1-000-555-0142\nb=CT:128\nr=7d 1h 0 25h\nz=3149328700 -1h\nk=clear:studio\nm[1].i=return\n"
     "m[1].c=0 192.0.2.2\nm[1].b=AS:80\nm[1].k=prompt"},
    {"gateway-fax", 2075,
     "m[1]=0 0/0 0 1\nm[2]=5 18222/0 2 1\nm[2].fmt[1]=0\nm[2].a[3]=T38FaxRateManagement:transferredTCF"},
    {"limit-129-character-word", 0, "m[1].fmt[1]=0"},
    {"limit-16-attributes", 0, "a[16]=s15\nm[1].a[1]=m0\nm[1].a[16]=m15"},
    {"limit-16-formats", 0, "m[1]=0 40000/0 0 16\nm[1].fmt[1]=96\nm[1].fmt[16]=111 L16/32000"},
    {"limit-4-media", 0, "m.count=4\nm[4]=0 40006/0 0 1"},
    {"limit-40-words", 0,
     "a[1]=w00 w01 w02 w03 w04 w05 w06 w07 w08 w09 w10 w11 w12 w13 w14 w15 w16 w17 w18 w19 w20 w21 w22 w23 "
     "w24 "
     "w25 w26 w27 w28 w29 w30 w31 w32 w33 w34 w35 w36 w37 w38 w39\nm.count=1"},
    {"limit-fmtp-255", 0, "m[1]=0 40000/0 0 1"},
    {"limit-text-cut", 0, "m.count=1\nc=0 192.0.2.20"},
    // Any word whose third character is a 4 or a 6 will do; the o= line is strict.
    {"odd-address-word", 0, "c=0 192.0.2.20\nm.count=1"},
    // One blank counts for each separator, so that the text ends one character early.
    {"odd-doubled-blank", 0, "s=two  blank"},
    {"odd-ends-in-text", 0, "m[1].fmt[1]=0\nm.count=1"},
    {"odd-large-numbers", 0,
     "o=- 2147483647 -2147483648 0 192.0.2.20\nb=AS:4294967295\nm[1]=0 65535/0 0 2\nm[1].fmt[1]=65535\n"
     "m[1].fmt[2]=0"},
    {"odd-medium-no-formats", 0, "m[1]=0 40000/0 0 0"},
    {"odd-name-without-rate", 0, "m[1].fmt[1]=31 LP"},
    {"odd-rtpmap-before-media", 0, "a[1]=rtpmap:96 L24/48000\nm[1].fmt[1]=96"},
    {"softphone-browser", 2078,
     "o=- 2147483647 2 0 127.0.0.1\na[1]=group:BUNDLE 0\nm[1]=0 9/0 3 3\nm[1].c=0 0.0.0.0\n"
     "m[1].fmt[1]=111 opus/48000/2 [minptime=10;useinbandfec=1]\nm[1].direction=1\nm[1].a[5]=rtcp-mux"},
    {"softphone-empty-lines", 0, "o=- 10 10 0 192.0.2.20\ns=-\nm[1]=0 40000/0 0 1\nm[1].ptime=30"},
    {"softphone-ice", 0,
     "a[2]=ice-pwd:YH75Fviy6338Vbrhrlp8Yh\nm[1].a[1]=candidate:1 1 UDP 2130706431 192.0.2.77 40002 typ host\n"
     "m[1].a[2]=candidate:2 1 UDP 1694498815 203.0.113.77 40002 typ srflx raddr 192.0.2.77 rport 40002\n"
     "m[1].a[3]=rtcp:40003 IN IP4 203.0.113.77\nm[1].a[4]=rtcp-mux"},
    {"softphone-ipv6", 0, "o=- 1 2 1 2001:db8:20::77\nc=1 2001:db8:20::77"},
    {"softphone-line-feeds", 0, "o=- 10 10 0 192.0.2.20\nm[1]=0 40000/0 0 1\nm[1].ptime=30"},
    {"softphone-no-origin", 0, "s=-\nc=0 192.0.2.77\nm.count=1"},
    {"softphone-unknown-lines", 0, "m[1].fmt[1]=0\nm[1].ptime=20"},
    {"trunk-media-connections", 0,
     "m.count=2\nm[1].c=0 198.51.100.31\nm[1].b=AS:87\nm[2]=0 30016/2 0 1\nm[2].c=0 198.51.100.32"},
    {"trunk-rejected-video", 0, "m.count=2\nm[2]=1 0/0 0 1\nm[2].fmt[1]=31"},
    {"trunk-secure", 0,
     "m[1]=0 30018/0 1 2\nm[1].a[1]=crypto:1 AES_CM_128_HMAC_SHA1_80 "
     "inline:MDEyMzQ1Njc4OWFiY2RlZjAxMjM0NTY3ODlhYmNk\nm[1].a[2]=crypto:2 AES_CM_128_HMAC_SHA1_32 "
     "inline:ZGNiYTk4NzY1NDMyMTBmZWRjYmE5ODc2NTQzMjEw|2^20|1:4"},
}};

// Name, reason.
constexpr std::array<FaultyBodyRow, 53> kFaultyBodyRows{{
    {"bad-01-fifth-medium", 1},
    {"bad-02-no-last-line-end", 2},
    {"bad-03-second-version", 3},
    {"bad-04-version-words", 4},
    {"bad-05-version-1", 5},
    {"bad-06-origin-first", 6},
    {"bad-07-origin-words", 7},
    {"bad-08-origin-type", 8},
    {"bad-09-second-name", 9},
    {"bad-10-130-character-word", 10},
    {"bad-11-info-behind-uri", 11},
    {"bad-13-second-uri", 13},
    {"bad-14-uri-words", 14},
    {"bad-15-email-behind-phone", 15},
    {"bad-16-email-with-name", 16},
    {"bad-17-third-email", 17},
    {"bad-18-phone-behind-connection", 18},
    {"bad-19-phone-words", 19},
    {"bad-20-third-phone", 20},
    {"bad-21-second-connection", 21},
    {"bad-22-connection-words", 22},
    {"bad-23-connection-type-length", 23},
    {"bad-24-second-bandwidth", 24},
    {"bad-25-bandwidth-words", 25},
    {"bad-26-bandwidth-no-colon", 26},
    {"bad-27-time-behind-attribute", 27},
    {"bad-28-time-words", 28},
    {"bad-29-repeat-behind-zone", 29},
    {"bad-30-connection-type", 30},
    {"bad-31-zone-behind-key", 31},
    {"bad-33-key-behind-attribute", 33},
    {"bad-34-key-words", 34},
    {"bad-35-attribute-first", 35},
    {"bad-36-attribute-empty", 36},
    {"bad-37-seventeenth-attribute", 37},
    {"bad-38-medium-first", 38},
    {"bad-39-medium-words", 39},
    {"bad-40-17-formats", 40},
    {"bad-41-media-info-late", 41},
    {"bad-42-media-connection-type", 42},
    {"bad-43-media-second-connection", 43},
    {"bad-44-media-connection-words", 44},
    {"bad-45-media-connection-type-length", 45},
    {"bad-46-media-second-bandwidth", 46},
    {"bad-47-media-bandwidth-words", 47},
    {"bad-48-media-bandwidth-no-value", 48},
    {"bad-49-media-key-late", 49},
    {"bad-50-media-key-words", 50},
    {"bad-52-media-attribute-empty", 52},
    {"bad-53-seventeenth-media-attribute", 53},
    {"bad-54-rtpmap-of-no-format", 54},
    {"bad-55-fmtp-256", 55},
    {"bad-55-fmtp-of-no-format", 55},
}};

}  // namespace

std::span<const BodyRow> body_rows() { return kBodyRows; }
std::span<const FaultyBodyRow> faulty_body_rows() { return kFaultyBodyRows; }

}  // namespace hark::test
