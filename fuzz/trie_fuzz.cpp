// The dictionary of texts: an input is the folding of two dictionaries that share a pool (two of k, l and u),
// and behind a line feed what is done to them: the dictionary's number, a sign, and a key. `+` stores, `-`
// removes, `?` looks up with all flags, `=` walks over all keys, `!` empties. A model does the same.
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "sipua/StrDict3.h"
#include "support/fuzzing.h"
#include "support/trie_twins.h"

namespace {

using hark::TrieTwins;
using hark::fuzz::check;

bool is_folding(char letter) { return letter == 'k' || letter == 'l' || letter == 'u'; }

std::string act(TrieTwins& twins, char sign, const std::string& key) {
  switch (sign) {
    case '+':
      return twins.Set(key);
    case '-':
      return twins.Remove(key);
    case '?':
      return twins.Find(key);
    case '=':
      return twins.Enumerate();
    case '!':
      return twins.RemoveAll();
    default:
      return "";
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = hark::fuzz::as_text(data, size);
  if (input.size() < 3 || !is_folding(input[0]) || !is_folding(input[1])) return 0;
  hark::StrDict3::Allocator pool;
  {
    std::array<TrieTwins, 2> twins{{{input[0], pool}, {input[1], pool}}};
    std::size_t peak = 0;
    for (const std::string& line : hark::fuzz::split(input.substr(2), "\n")) {
      if (line.size() < 2 || line[0] < '1' || line[0] > '2') continue;
      const std::string key = hark::fuzz::ExactText(std::string_view(line).substr(2)).c_str();
      const std::string difference = act(twins[static_cast<std::size_t>(line[0] - '1')], line[1], key);
      check(difference.empty(), difference.c_str());
      check(pool.nUsed == twins[0].Nodes() + twins[1].Nodes(),
            "as many nodes are in use as beginnings are kept");
      peak = std::max(peak, std::size_t{pool.nUsed});
      check(pool.nTotal == (peak + 15) / 16 * 16, "no block is taken while nodes are free");
    }
    for (const TrieTwins& one : twins) {
      const std::string difference = one.Enumerate();
      check(difference.empty(), difference.c_str());
    }
  }
  check(pool.nUsed == 0, "dictionaries give all nodes back at their end");
  return 0;
}
