// The program's own logger, under the names of the C library's: each message goes as one UDP datagram to the
// server that a small file names, and with option 32 to stderr too. Called from everywhere; reports nothing.
#pragma once

#include <string>

namespace hark {

// Levels, as in RFC 5424 section 6.2.1. A message passes when its number is not above the level in force.
inline constexpr int kLogError = 3;
inline constexpr int kLogWarning = 4;
inline constexpr int kLogNotice = 5;
inline constexpr int kLogInfo = 6;
inline constexpr int kLogDebug = 7;

// Options and facility of openlog.
inline constexpr unsigned kLogPid = 1;  // accepted for the callers' sake: the pid always stands in the line
inline constexpr unsigned kLogStderr = 32;  // a copy of each message to stderr
inline constexpr unsigned kLogFacilityUser = 8;

// File with the server and the level: word pairs "SyslogServer_IPaddr a.b.c.d", "SyslogServer_SeverityLevel
// n". Looked at on every message, so that a change needs no signal. Writable for deployments and tests.
extern std::string log_cfgfile;

// Starts the log, or starts it afresh. Copies `ident`. Returns 0.
int openlog(const char* ident, unsigned option, unsigned facility);

// Sends one message. Before openlog, and above the level in force, it is dropped.
void syslog(int priority, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

// Closes the socket and forgets ident, option and the file's time; messages are dropped until openlog.
void closelog();

}  // namespace hark
