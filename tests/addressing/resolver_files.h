// The two files that answer a resolution, in a folder of the test's own, and a query with all its buffers.
// Used by every test that resolves; everything global is as before when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "addressing/HarkResolv.h"
#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "base/scratch_folder.h"
#include "daemon/station/station.h"

namespace hark {

// A query that asks for everything, with the usual buffers.
struct Query {
  std::array<char, kLabelSize> label{};
  std::array<char, kResolvedUrlSize> url{};
  std::array<char, kAltSize> alt{};
  HarkResolvInfo info{label, url, alt};
  Query() = default;
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  int Run(int kind, const char* key) { return HarkResolv2(kind, key, info); }
  [[nodiscard]] std::string addr() const { return info.addr ? std::string(info.addr, info.addr_len) : "-"; }
};

class ResolverFiles : public ::testing::Test {
 protected:
  ResolverFiles()
      : table_before_(std::exchange(table_file, folder_.File("table"))),
        sources_before_(std::exchange(harksources_file, folder_.File("sources"))),
        dynamic_before_(std::exchange(HarkResolv_dynamic, nullptr)),
        hook_before_(bonjour_harkresolvtable_free_entry_callback) {
    harkd_dynamicsources.clear();
  }
  ~ResolverFiles() override {
    harkd_dynamicsources.clear();
    bonjour_harkresolvtable_free_entry_callback = hook_before_;
    HarkResolv_dynamic = dynamic_before_;
    harksources_file = sources_before_;
    table_file = table_before_;
  }
  void Sources(const std::string& text) { folder_.Write("sources", text); }
  void Table(const std::string& text) { folder_.Write("table", text); }

  // The whole line that a label resolves to; "-" when it does not.
  static std::string UrlOf(const char* label) {
    ResolvedLabel found;
    return HarkResolv2(kResolveLabel, label, found.info) == 0 ? found.url.data() : "-";
  }
  // The label that a URL resolves to; "-" when it does not.
  static std::string LabelOf(const char* url) {
    Query query;
    return query.Run(kResolveUrl, url) == 0 ? query.label.data() : "-";
  }

  ScratchFolder folder_;

 private:
  std::string table_before_;
  std::string sources_before_;
  ResolvFunction dynamic_before_;
  void (*hook_before_)(harkresolvtable_entry&);
};

}  // namespace hark
