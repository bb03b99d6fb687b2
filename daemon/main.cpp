// The program: opens the log, starts, becomes a daemon, writes its pid file, runs the loop.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "daemon/harkd.h"
#include "daemon/log/log.h"
#include "daemon/log/process_files.h"
#include "daemon/root.h"
#include "daemon/station/station.h"

int main(int argc, char** argv) {
  using namespace hark;
  // By the line, so that nothing is lost when the process becomes a daemon, and a watcher sees each line at
  // once.
  (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
  apply_hark_root();
  openlog(station.appName.c_str(), kLogPid, kLogFacilityUser);
  const int result = harkd_initialize(argc, argv);
  if (result != 0 || station.dbg) (void)std::printf("harkd_initialize %d\n", result);
  if (result != 0) return 1;
  if (!station.dbg && ::daemon(0, 0) != 0) std::exit(1);
  // Kept: created by the file's name and removed by the program's, so that a renamed program leaves its pid
  // file behind. Whoever renamed it looks for it under that name.
  create_pid_file(argv[0]);
  const int ended = harkd_main();
  remove_pid_file(station.appName.c_str());
  closelog();
  if (station.dbg) (void)std::printf("%s exit %d\n", station.appName.c_str(), ended);
  return 0;
}
