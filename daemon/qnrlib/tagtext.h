// The line grammar of every text interface of the system: tag lists such as `NAME:"Main" CMAP:08, GAIN=-240`.
// Tokens stand between runs of blanks and commas; a token is NAME:value or NAME=value; quotes hold blanks and
// commas; a backslash makes the next character literal. Readers work in place on NUL-terminated text: nothing
// is altered and nothing allocated unless a prototype says so. A malformed list is no error: what cannot be
// found is absent, what is no number is 0.
#pragma once

#include <cstddef>
#include <string>

namespace hark {

// The error lines of the control port.
inline constexpr const char QNR_ERROR_BADCOMMAND[] = "ERROR 1000 bad command\r\n";
inline constexpr const char QNR_ERROR_SYNTAXERROR[] = "ERROR 1001 syntax error\r\n";
inline constexpr const char QNR_ERROR_BADPORT[] = "ERROR 1002 bad port number\r\n";
inline constexpr const char QNR_ERROR_BADPROGID[] = "ERROR 1003 bad batch id\r\n";
inline constexpr const char QNR_ERROR_INVALIDPASSWORD[] = "ERROR 1004 invalid password\r\n";
inline constexpr const char QNR_ERROR_SERVERBUSY[] = "ERROR 2000 server busy\r\n";
inline constexpr const char QNR_ERROR_HOSTCONNLIMIT[] = "ERROR 2001 too many connections from host\r\n";
inline constexpr const char QNR_ERROR_CONNECTIONFAILED[] = "ERROR 2003 connection failed\r\n";

// Moves `p` to the start of the next token, or to the end of the text.
void qnr_nextval(const char*& p);

// The start of the first token named `tag` (its first `taglen` characters, without regard to case) that is
// followed by ":" or "=". Null when there is none, or for a null `text`.
[[nodiscard]] const char* qnr_findtag(const char* text, const char* tag, std::size_t taglen);

// The raw value, quotes included, of the first token named `tag`; ":", "=" or a blank may follow the name.
// Null when there is none, or when either argument is null. Valid as long as `text`.
[[nodiscard]] const char* qnr_findval(const char* text, const char* tag);

// Unquotes the value at `val` into `dst` of `size` bytes, always terminated; returns the length. Inside
// quotes CR and LF belong to the value. A null `val` gives the empty text; a null `dst` or a `size` below 1
// gives 0.
int qnr_copyval(char* dst, const char* val, int size);

// Copies one token as it stands from `src` to `dst`, closes an open quote, and adds a blank and a NUL. `src`
// is left at the token's end, `dst` on the NUL. Requires room for the token, a quote, a blank and the NUL.
void qnr_copyval(const char*& src, char*& dst);

// What a copy of the value would hold. Kept: unlike the copy, CR and LF end the value inside quotes too,
// which holds a value that was never closed to its own line.
[[nodiscard]] int qnr_vallen(const char* val);

// A copy of the value on the heap, of qnr_vallen's length; null when that is below 1. The caller frees it
// with delete[].
[[nodiscard]] char* qnr_valdup(const char* val);

// The number at `val` in base 0, behind one leading quote if there is one. Null gives 0.
[[nodiscard]] long qnr_vall(const char* val);

// The number of the tag `tag` in `text`, or `dflt` when the tag is missing.
[[nodiscard]] long qnr_getl(const char* text, const char* tag, long dflt);

// Copies `src` to `dst` of `size` bytes with a backslash before each quote and each backslash; always
// terminated. A pair that would not fit whole ends the copy. Returns the length; a null `src` gives the empty
// text, a null `dst` 0.
int qnr_escape(char* dst, int size, const char* src);

// Merges the tag list `changes` into the tag list `old` (either may be null) and returns the result, with
// single blanks between tokens and none at the end. Old tokens keep their order; one that `changes` names is
// replaced. A new token is added when `valid` is null or lists its name (null-terminated, without regard to
// case).
[[nodiscard]] std::string qnr_alter_str(const char* old, const char* changes, const char* const* valid);

// The address (see qn_url2ip) that the value at `val` names: the value alone is looked at, not what follows
// it.
[[nodiscard]] unsigned long qnr_valip(const char* val);

// The IPv4 address, in network order, of "a.b.c.d[:port]", a channel number "n" (239.192.n>>8.n), or either
// behind "qns://"; one leading quote is skipped. 0 when it is none of these. `port`, when not null, receives
// the port in host order, 5004 unless one is given.
[[nodiscard]] unsigned long qn_url2ip(const char* text, unsigned short* port);

}  // namespace hark
