#include "system/support/far_device_sim.h"

#include <algorithm>
#include <utility>

#include "system/support/ports.h"

namespace hark::test {
namespace {

constexpr char kAddress[] = "127.0.0.1";

}  // namespace

FarDeviceSim::FarDeviceSim(quillsim::FarDeviceOptions options)
    : device_(std::move(options)), port_(device_.listen(kAddress, free_tcp_port())) {
  EXPECT_GT(port_, 0) << "the far device has no port";
}

std::string FarDeviceSim::url(int dst, const std::string& password) const {
  const std::string login = password.empty() ? std::string() : password + "@";
  return login + kAddress + ":" + std::to_string(port_) + "/" + std::to_string(dst);
}

void FarDeviceSim::die() {
  device_.stop_listening();
  device_.close_clients();
}

int FarDeviceSim::count(const std::string& line) const {
  return static_cast<int>(std::count(device_.received().begin(), device_.received().end(), line));
}

testing::AssertionResult FarDeviceSim::wait_received(const std::string& line, int times,
                                                     int timeout_ms) const {
  return waits([&] { return count(line) >= times; }, std::to_string(times) + " times: " + line, timeout_ms);
}

testing::AssertionResult FarDeviceSim::wait_address(int dst, const std::string& addr, int timeout_ms) const {
  return waits([&] { return device_.address(dst) == addr; },
               "destination " + std::to_string(dst) + " with \"" + addr + "\"", timeout_ms);
}

testing::AssertionResult FarDeviceSim::wait_clients(int count, int timeout_ms) const {
  return waits([&] { return device_.clients() == count; }, std::to_string(count) + " clients", timeout_ms);
}

testing::AssertionResult FarDeviceSim::refused_nothing() const {
  if (device_.refused().empty()) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "refused:";
  for (const quillsim::Refusal& refusal : device_.refused()) {
    failure << "\n  " << refusal.reason << ": " << testing::PrintToString(refusal.line);
  }
  return failure;
}

testing::AssertionResult FarDeviceSim::waits(const std::function<bool()>& condition, const std::string& what,
                                             int timeout_ms) const {
  if (wait_until(condition, timeout_ms)) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "the far device never had: " << what
                                             << "\nclients: " << device_.clients() << "\nreceived:";
  for (const std::string& line : device_.received())
    failure << "\n  " << line;
  failure << "\ncarries:";
  for (const std::string& line : device_.describe())
    failure << "\n  " << line;
  return failure;
}

}  // namespace hark::test
