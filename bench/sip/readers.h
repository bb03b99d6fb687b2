// The two readers: one that sums what it is handed, for the measurements, and one that keeps it, for the
// check before them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rows.h"
#include "subject.h"

namespace hark::bench {

/// Looks at all that was read, as little as it can: the sum is what keeps an operation from being left out.
class SumReader : public Reader {
 public:
  void message(const SeenMessage& seen) override;
  void sdp(const SeenSdp& seen) override;
  void uri(const SeenUri& seen) override;
  void wire(std::string_view bytes) override;

  [[nodiscard]] std::uint64_t sum() const { return sum_; }

 private:
  void text(const Text& text);

  std::uint64_t sum_ = 0;
};

/// Keeps each value as a line, "call-id 4711@10.0.0.1", and the last thing that was written.
class LineReader : public Reader {
 public:
  void message(const SeenMessage& seen) override;
  void sdp(const SeenSdp& seen) override;
  void uri(const SeenUri& seen) override;
  void wire(std::string_view bytes) override { wire_ = bytes; }

  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
  [[nodiscard]] const std::string& written() const { return wire_; }

 private:
  std::vector<std::string> lines_;
  std::string wire_;
};

/// Runs each row once with the subject: true when the values that it reads are those of the files, and when
/// what it writes is as long as the file about, has all of its lines' names and is read back with the same
/// values. Tells on standard error what differs.
[[nodiscard]] bool check(Subject& subject, const Inputs& inputs);

}  // namespace hark::bench
