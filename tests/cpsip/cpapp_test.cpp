// What the stack prints when it meets something unexpected: the kind of the report, its values, and the
// source's name and line by the location's module.
#include "cpsip/cpapp.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

struct ModuleRow {
  cpapp_module module;
  std::uint32_t value;
  const char* name;
};

// The module's name in the code, its part of a location, the text that is printed.
constexpr ModuleRow kModules[] = {
    {cpapp_module::cpdns, 0x10000, "cpdns"},
    {cpapp_module::cpsdp, 0x20000, "cpsdp"},
    {cpapp_module::cpsip_msg, 0x30000, "cpsip_msg"},
    {cpapp_module::cpsip_service, 0x50000, "cpsip_service"},
    {cpapp_module::cpsip_transaction, 0x60000, "cpsip_transaction"},
    {cpapp_module::cpsip_transport, 0x70000, "cpsip_transport"},
    {cpapp_module::cpsip_ua, 0x80000, "cpsip_ua"},
    {cpapp_module::cpsip_osa, 0x90000, "cpsip_osa"},
    {cpapp_module::cprtp, 0xA0000, "cprtp"},
    {cpapp_module::cpsip_ims, 0xB0000, "cpsip_ims"},
    {cpapp_module::cpstun, 0xC0000, "cpstun"},
    {cpapp_module::cpsip_ua_receive, 0xD0000, "cpsip_ua_receive"},
    {cpapp_module::cpsip_ua_send, 0xE0000, "cpsip_ua_send"},
    {cpapp_module::cpmsg, 0x100000, "cpmsg"},
    {cpapp_module::cpsip_enhanced, 0x200000, "cpsip_enhanced"},
    {cpapp_module::cpsip_notify, 0x300000, "cpsip_notify"},
    {cpapp_module::cpsip_security, 0x400000, "cpsip_security"},
    {cpapp_module::cpsip_gips, 0x8000000, "cpsip_gips"},
    {cpapp_module::cpapp, 0x10000000, "cpapp"},
};

TEST(Cpapp, EveryModuleIsPrintedByItsName) {
  for (const ModuleRow& row : kModules) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(static_cast<std::uint32_t>(row.module), row.value);
    const std::string expected = "file: " + std::string{row.name} + " line: 1234\r\n";
    EXPECT_EQ(Reports([&] { (void)cpsip_log_uxp_location(row.value | 1234); }), expected);
  }
}

TEST(Cpapp, OtherModulesAreUnknownFiles) {
  for (const std::uint32_t module : {0U, 0x40000U, 0xF0000U, 0x110000U, 0x500000U, 0x4000000U, 0x8010000U,
                                     0x10010000U, 0x20000000U, 0xFFFF0000U}) {
    SCOPED_TRACE(module);
    EXPECT_EQ(Reports([&] { (void)cpsip_log_uxp_location(module | 7); }), "file: UNKNOWN FILE line: 7\r\n");
  }
}

TEST(Cpapp, LineIsTheLow16BitsInDecimal) {
  EXPECT_EQ(Reports([] { (void)cpsip_log_uxp_location(0x30A73); }), "file: cpsip_msg line: 2675\r\n");
  EXPECT_EQ(Reports([] { (void)cpsip_log_uxp_location(0x30000); }), "file: cpsip_msg line: 0\r\n");
  EXPECT_EQ(Reports([] { (void)cpsip_log_uxp_location(0x3FFFF); }), "file: cpsip_msg line: 65535\r\n");
}

TEST(Cpapp, HereIsTheModuleAndTheLineOfTheCall) {
  const std::uint32_t here = cpapp_here(cpapp_module::cprtp);
  const std::uint32_t line = __LINE__ - 1;
  EXPECT_EQ(here, 0xA0000U | line);
}

TEST(Cpapp, ReportWithoutAValue) {
  EXPECT_EQ(Reports([] { (void)cpapp_uxp(0x20005); }), "UXP: file: cpsdp line: 5\r\n");
}

TEST(Cpapp, ReportsPrintTheirValuesInHexadecimal) {
  EXPECT_EQ(Reports([] { (void)cpapp_uxp1(0x90010, 0xBEEF); }), "UXP1: 0xbeef: file: cpsip_osa line: 16\r\n");
  EXPECT_EQ(Reports([] { (void)cpapp_uxp1(0x90010, 0); }), "UXP1: 0x0: file: cpsip_osa line: 16\r\n");
  EXPECT_EQ(Reports([] { (void)cpapp_uxp2(0x70001, 41, 0xFFFFFFFF); }),
            "UXP2: 0x29 0xffffffff: file: cpsip_transport line: 1\r\n");
}

TEST(Cpapp, ReportsReturnWhatTheLocationsLineReturns) {
  const int expected = static_cast<int>(std::string{"file: cpsdp line: 5\r\n"}.size());
  int location = 0;
  int none = 0;
  int one = 0;
  int two = 0;
  (void)Reports([&] {
    location = cpsip_log_uxp_location(0x20005);
    none = cpapp_uxp(0x20005);
    one = cpapp_uxp1(0x20005, 1);
    two = cpapp_uxp2(0x20005, 1, 2);
  });
  EXPECT_EQ(location, expected);
  EXPECT_EQ(none, expected);
  EXPECT_EQ(one, expected);
  EXPECT_EQ(two, expected);
}

TEST(CpappDeathTest, FatalErrorReportsAndEndsWithStatus1) {
  const auto fail = [] {
    // The death test reads standard error; the report goes to standard output.
    (void)dup2(STDERR_FILENO, STDOUT_FILENO);
    cpapp_fatal_err(0x90001);
  };
  EXPECT_EXIT(fail(), ::testing::ExitedWithCode(1), "!!!FATAL ERR: file: cpsip_osa line: 1\r\n");
}

}  // namespace
}  // namespace hark::test
