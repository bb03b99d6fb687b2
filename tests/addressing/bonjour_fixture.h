// A station whose DNS-SD library plays a script, with verbs for what happens on the network. Used by all
// tests of discovery. No reference may be left when a test ends, and no misuse of the library may have
// happened.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "addressing/harkbonjour.h"
#include "addressing/harkbonjour_private.h"
#include "resolver_files.h"
#include "routing/log_capture.h"
#include "support/scripted_dnssd.h"
#include "support/test_clock.h"

namespace hark {

using Texts = std::vector<std::string>;

inline constexpr unsigned kAnyInterface = 0;
inline constexpr std::uint16_t kPort = 4013;

// A TXT record of these items.
std::string TxtOf(const Texts& items);
// A raw address from its text.
std::string Raw(const char* address);

class Bonjour : public ResolverFiles {
 protected:
  Bonjour();
  ~Bonjour() override;
  void TearDown() override;

  // A daemon that answers, and discovery started on `interface`; what that called is forgotten.
  void Start(unsigned interface = kAnyInterface, const char* name = nullptr);

  // One pass of the main loop: the descriptors are looked at and what is ready is served.
  static int Serve();

  // A station comes or goes, and that is served.
  static void Found(const std::string& name, const std::string& domain = "local.");
  static void Gone(const std::string& name, const std::string& domain = "local.");
  // The resolve of a station answers, and that is served.
  static void Resolved(const std::string& name, const std::string& host, const std::string& txt = {},
                       const std::string& domain = "local.");
  // The address query of a station answers, and that is served.
  static void HasAddress(const std::string& name, const char* address);
  // All three: the station's entry.
  static harkresolvtable_entry& Known(const std::string& name, const char* address);

  // The same, not served yet.
  static void QueueFound(const std::string& name, const std::string& domain = "local.");
  static void QueueGone(const std::string& name, const std::string& domain = "local.");
  static void QueueResolved(const std::string& name, const std::string& host, const std::string& txt = {},
                            const std::string& domain = "local.");
  static void QueueAddress(const std::string& name, const char* address);

  [[nodiscard]] static harkresolvtable_entry* Entry(std::string_view name,
                                                    std::string_view domain = "local.");
  // The entry's URL; "-" without an entry.
  [[nodiscard]] static std::string Url(std::string_view name, std::string_view domain = "local.");
  // "name/domain", first entry first.
  [[nodiscard]] static Texts Names();
  [[nodiscard]] std::string File() const { return folder_.Read("table"); }

  // What was called since the last time, less the result processing.
  [[nodiscard]] static Texts Calls();
  // Whether the library was misused; told when the test ends.
  [[nodiscard]] static bool HasFaults();
  // How often the table was said to have changed since the last time.
  [[nodiscard]] static int Changes();

  template <typename Action>
  static std::string Printed(Action action) {
    ::testing::internal::CaptureStdout();
    action();
    return ::testing::internal::GetCapturedStdout();
  }
  template <typename Action>
  static std::string Errors(Action action) {
    ::testing::internal::CaptureStderr();
    action();
    return ::testing::internal::GetCapturedStderr();
  }
  // The log of what `action` does, as far as a level lets it pass.
  template <typename Action>
  std::string LogUpTo(int level, Action action) {
    LogCapture log;
    log_cfgfile = folder_.Write("log.cfg", "SyslogServer_SeverityLevel " + std::to_string(level) + "\n");
    return log.Of(action);
  }

  TestClock clock_;
};

}  // namespace hark
