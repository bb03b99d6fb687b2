// The bad network between the stations of a test: each is reached at an address of the relay's, and sees the
// others at those. What passes is rewritten, so that no station learns another's own address, and lost,
// doubled or held back by the rolls of a seeded die. It needs nothing of the kernel but sockets.
#pragma once

#include <sys/select.h>

#include <chrono>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/fd.h"
#include "system/support/pump.h"

namespace hark::test {

class SipRelay : public Pumped {
 public:
  // A die of its own with this seed. The process is in the stations' network already.
  explicit SipRelay(unsigned seed) : random_(seed) {}

  // Makes the relay's address for station `number`, 11 to 99, of the network; false when it cannot be had.
  // The station needs a way to the relay's addresses: see route().
  [[nodiscard]] bool add(int number);
  // The command for ip(8) on a station's host.
  [[nodiscard]] static std::string route();
  // Where others reach station `number`.
  [[nodiscard]] static std::string address_of(int number) { return kOutside + std::to_string(number); }
  // The station behind such an address; 0 when it is none.
  [[nodiscard]] static int number_of(const std::string& address);

  // So many of a hundred datagrams are lost, so many doubled, so many overtaken by later ones.
  void set_bad(int percent) { bad_ = percent; }
  // Sends what has been held back long enough. To be called in every wait.
  void flush();

  [[nodiscard]] int passed() const { return passed_; }
  [[nodiscard]] int spoiled() const { return spoiled_; }

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  static constexpr char kInside[] = "10.77.0.";
  static constexpr char kOutside[] = "10.77.9.";  // as long, so that no length in a message changes

  using Place = std::pair<int, int>;  // station and port
  struct Held {
    std::chrono::steady_clock::time_point due;
    Place from;
    Place to;
    std::string text;
  };

  void pass(const Place& from, const Place& to, const std::string& text);
  void send(const Place& from, const Place& to, const std::string& text) const;
  [[nodiscard]] bool unlucky() { return static_cast<int>(random_() % 100) < bad_; }

  std::mt19937 random_;
  std::map<Place, UniqueFd> sockets_;
  std::vector<Held> held_;
  int bad_ = 0;
  int passed_ = 0;
  int spoiled_ = 0;
};

}  // namespace hark::test
