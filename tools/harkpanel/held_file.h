// The keys that are down, in a file, so that a gateway that dies with a finger on a key can let go of it at
// its next start. Written before the station hears of a press and after it has heard of a release. A killed
// process leaves it whole; it is no guard against a loss of power. Beside the keys it has the time that the
// station was told with the last press, from which it measures a tap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/fd.h"
#include "panel/signature.h"

namespace hark::panel_gateway {

class HeldFile {
 public:
  // Opens or makes the file (mode 0600; a link is not followed) and locks it for this process. `error`: why
  // it is null, "in use" when another gateway of the same name and station has it.
  [[nodiscard]] static std::unique_ptr<HeldFile> open(const std::string& path, std::string& error);

  // What it held when it was opened; words that are no keys are left out.
  [[nodiscard]] const std::vector<Signature>& found() const { return found_; }
  // The time of the last press that stood with them, in ms; 0: none.
  [[nodiscard]] std::int64_t found_press_ms() const { return found_press_ms_; }
  // Puts these keys, and the time of the last press, in place of what it holds. False when they could not be
  // written.
  bool write(const std::vector<Signature>& keys, std::int64_t press_ms = 0);

 private:
  explicit HeldFile(UniqueFd file) : file_(std::move(file)) {}
  void read();

  UniqueFd file_;
  std::size_t size_ = 0;  // of the file
  std::vector<Signature> found_;
  std::int64_t found_press_ms_ = 0;
};

// Its name for the panel `id` of the station `host`:`port`, in `folder`: only letters, digits, points and
// dashes.
[[nodiscard]] std::string held_file_name(const std::string& folder, std::string_view station,
                                         std::string_view id);

}  // namespace hark::panel_gateway
