// The program harkpanel: the key panel of one station, in browsers.

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tools/control/standard_streams.h"
#include "tools/control/station_address.h"
#include "tools/harkpanel/held_file.h"
#include "tools/harkpanel/options.h"
#include "tools/harkpanel/web_server.h"

int main(int argc, char** argv) {
  using namespace hark::panel_gateway;
  hark::control::open_standard_streams();
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  const ParsedOptions parsed = parse_options(words);
  if (parsed.exit_status >= 0) {
    (void)std::fputs(parsed.text.c_str(), parsed.exit_status == 0 ? stdout : stderr);
    return parsed.exit_status;
  }
  const Options& options = parsed.options;
  const std::string path =
      held_file_name(options.state_folder, hark::control::to_text(options.station), options.id);
  std::string error;
  std::unique_ptr<HeldFile> held = HeldFile::open(path, error);
  if (!held) {
    // Without it a key could stay down for ever.
    (void)std::fprintf(stderr, "harkpanel: %s: %s\n", path.c_str(), error.c_str());
    return 1;
  }
  return run_gateway(options, std::move(held));
}
