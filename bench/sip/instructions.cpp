// Instructions by callgrind, which counts those of the C library too. Other than times they are the same in
// each run, so that they can have an aim.
#include <sys/personality.h>
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "measure.h"
#include "readers.h"

namespace hark::bench {
namespace {

constexpr int kTimes = 100;

volatile std::uint64_t g_kept;

/// Counts it after a first time outside of the count, in which what is made once is made. The loop around it
/// and the call by way of the table are in the count, some ten instructions.
template <typename Operation>
bool collect(Operation operation, const std::string& reason) {
  if (!operation()) return false;
  bool done = true;
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  for (int i = 0; i < kTimes && done; ++i)
    done = operation();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(reason.c_str());
  return done;
}

/// A folder that goes away with all that is in it, unless it was named from outside.
class Folder {
 public:
  Folder() {
    const char* named = std::getenv("HARK_BENCH_PROFILE");
    kept_ = named != nullptr;
    char made[] = "/tmp/hark-bench-sip.XXXXXX";
    if (kept_) {
      path_ = named;
    } else if (::mkdtemp(made) != nullptr) {
      path_ = made;
    }
  }
  ~Folder() {
    std::error_code error;
    if (!kept_ && !path_.empty()) std::filesystem::remove_all(path_, error);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
  bool kept_;
};

bool run_callgrind(const std::string& into, const char* inputs_folder) {
  const std::string out = "--callgrind-out-file=" + into + "/callgrind.out";
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const pid_t child = ::fork();
  if (child == 0) {
    // The same addresses in each run, where that is allowed: what a library hashes by address counts alike
    // then.
    (void)::personality(ADDR_NO_RANDOMIZE);
    ::execlp("valgrind", "valgrind", "-q", "--tool=callgrind", "--collect-atstart=no", out.c_str(),
             self.c_str(), "--count", inputs_folder, static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    (void)std::fprintf(stderr, "no instructions: valgrind --tool=callgrind has failed\n");
    return false;
  }
  return true;
}

/// One of callgrind's files: "desc: Trigger: Client Request: 3.1" is row 3 of the subject 1, "totals: 123"
/// what was counted.
bool read_counts(const std::filesystem::path& path, Results& results) {
  std::ifstream file(path);
  std::string line;
  std::size_t row = kRows;
  std::size_t subject = 0;
  while (std::getline(file, line)) {
    unsigned long long total = 0;
    (void)std::sscanf(line.c_str(), "desc: Trigger: Client Request: %zu.%zu", &row, &subject);
    if (std::sscanf(line.c_str(), "totals: %llu", &total) != 1) continue;
    if (row >= kRows || subject >= results[row].size()) return total == 0;
    results[row][subject].instructions = static_cast<double>(total) / kTimes;
  }
  return true;
}

}  // namespace

bool count_instructions(const Subjects& subjects, const Inputs& inputs) {
  SumReader reader;
  for (std::size_t i = 0; i < kRows; ++i) {
    const Row& row = kRowTable[i];
    const std::string_view input = input_of(row, inputs);
    const std::string prefix = std::to_string(i) + ".";
    for (std::size_t j = 0; j < subjects.size(); ++j) {
      if (!collect([&] { return row.run(*subjects[j], input, reader); }, prefix + std::to_string(j)))
        return false;
    }
    if (row.input == nullptr) continue;
    (void)collect([&] { return (g_kept = count_line_ends(input), true); },
                  prefix + std::to_string(subjects.size()));
  }
  g_kept = reader.sum();
  return true;
}

bool measure_instructions(const char* folder, Results& results) {
  const Folder into;
  if (into.path().empty() || !run_callgrind(into.path(), folder)) return false;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(into.path(), error)) {
    if (!read_counts(entry.path(), results)) return false;
  }
  for (const std::vector<Figures>& row : results) {
    for (const Figures& figures : row) {
      if (figures.instructions > 0) continue;
      (void)std::fprintf(stderr, "no instructions: one of callgrind's files is missing\n");
      return false;
    }
  }
  return true;
}

}  // namespace hark::bench
