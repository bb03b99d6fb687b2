// A dictionary and a model of it, which do everything together and tell where they differ. The model knows
// two sets of texts: the keys, and the beginnings of keys that have a node. From the keys alone follows what
// a lookup may find; from the beginnings, what it does find where removed keys have left nodes behind.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sipua/StrDict3.h"

namespace hark {

class TrieModel {
 public:
  using Value = std::optional<void*>;

  // `fold` is 'k' (kept), 'l' (lower case) or 'u' (upper case).
  explicit TrieModel(char fold) : fold_(fold) {}

  bool Set(const std::string& key, void* value) {
    if (key.empty()) return false;
    const std::string folded = Folded(key);
    keys_[folded] = value;
    for (std::size_t length = 1; length <= folded.size(); ++length)
      beginnings_.insert(folded.substr(0, length));
    return true;
  }

  bool Remove(const std::string& key) {
    const std::string folded = Folded(key);
    if (keys_.erase(folded) == 0) return false;
    const auto next = std::next(beginnings_.find(folded));
    const bool continues = next != beginnings_.end() && next->starts_with(folded);
    if (!continues) beginnings_.erase(folded);
    return true;
  }

  void RemoveAll() {
    keys_.clear();
    beginnings_.clear();
  }

  // What is meant by `key`, by the keys alone.
  [[nodiscard]] Value Meant(const std::string& key, bool descend, bool unique) const {
    if (key.empty()) return {};
    const std::string part = Folded(key);
    const auto first = keys_.lower_bound(part);
    if (first == keys_.end() || !first->first.starts_with(part)) return {};
    if (first->first == part) return first->second;
    if (!descend) return {};
    const auto second = std::next(first);
    if (unique && second != keys_.end() && second->first.starts_with(part)) return {};
    return first->second;
  }

  // Whether a node that leads to no key turns the way from `key` to the key that is meant: it comes first
  // somewhere on the way, or with `unique` it stands beside or behind it.
  [[nodiscard]] bool Misled(const std::string& key, bool unique) const {
    const std::string part = Folded(key);
    const auto meant = keys_.lower_bound(part);
    if (meant == keys_.end() || !meant->first.starts_with(part) || meant->first == part) return false;
    for (auto at = beginnings_.upper_bound(part); at != beginnings_.end() && at->starts_with(part); ++at) {
      const bool on_the_way = meant->first.starts_with(*at);
      if (!on_the_way) return unique || BySignedChars{}(*at, meant->first);
    }
    return false;
  }

  // All keys that are short enough to be enumerated.
  [[nodiscard]] std::vector<std::pair<std::string, void*>> Listed() const {
    std::vector<std::pair<std::string, void*>> listed;
    std::copy_if(keys_.begin(), keys_.end(), std::back_inserter(listed),
                 [](const auto& entry) { return entry.first.size() <= StrDict3::kMostLevels; });
    return listed;
  }

  [[nodiscard]] std::size_t Nodes() const { return beginnings_.size(); }

 private:
  struct BySignedChars {
    bool operator()(std::string_view a, std::string_view b) const {
      return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<signed char>(x) < static_cast<signed char>(y);
      });
    }
  };

  [[nodiscard]] std::string Folded(std::string key) const {
    constexpr std::string_view kLower = "abcdefghijklmnopqrstuvwxyz";
    constexpr std::string_view kUpper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (fold_ == 'k') return key;
    const std::string_view from = fold_ == 'l' ? kUpper : kLower;
    const std::string_view to = fold_ == 'l' ? kLower : kUpper;
    for (char& c : key)
      if (const std::size_t at = from.find(c); at != std::string_view::npos) c = to[at];
    return key;
  }

  char fold_;
  std::map<std::string, void*, BySignedChars> keys_;
  std::set<std::string, BySignedChars> beginnings_;
};

// Each function acts on both and returns what they differ in; empty when they don't.
class TrieTwins {
 public:
  // `fold` as above. Borrows `pool`.
  TrieTwins(char fold, StrDict3::Allocator& pool)
      : dict_(fold == 'k', fold == 'u' ? StrDict3::STORE_UPPER : StrDict3::STORE_LOWER, &pool),
        model_(fold) {}

  // Under a value of its own; each 64th is null.
  [[nodiscard]] std::string Set(const std::string& key) {
    void* value = ++sets_ % kCells.size() == 0 ? nullptr : &kCells[sets_ % kCells.size()];
    return dict_.Set(key.c_str(), value) == model_.Set(key, value) ? "" : "Set";
  }

  [[nodiscard]] std::string Remove(const std::string& key) {
    return dict_.Remove(key.c_str()) == model_.Remove(key) ? "" : "Remove";
  }

  [[nodiscard]] std::string RemoveAll() {
    dict_.RemoveAll();
    model_.RemoveAll();
    return dict_.Root() == nullptr ? "" : "RemoveAll leaves something";
  }

  // With all four pairs of flags.
  [[nodiscard]] std::string Find(const std::string& key) const {
    for (const bool descend : {false, true})
      for (const bool unique : {false, true}) {
        const std::string where =
            " descend " + std::to_string(int{descend}) + " unique " + std::to_string(int{unique});
        const TrieModel::Value found = Found(key, descend, unique);
        if (found != FoundCut(key, descend, unique)) return "Find0 of a text without its NUL," + where;
        const TrieModel::Value meant = model_.Meant(key, descend, unique);
        const TrieModel::Value expected = descend && model_.Misled(key, unique) ? TrieModel::Value{} : meant;
        if (found != expected) return "Find," + where;
      }
    return "";
  }

  [[nodiscard]] std::string Enumerate() const {
    std::vector<std::pair<std::string, void*>> listed;
    const bool whole = dict_.EnumDictionary0(
        "<", dict_.Root(),
        [](const char* key, void*& value, void* ctx) {
          static_cast<decltype(listed)*>(ctx)->emplace_back(key + 1, value);
          return *key == '<';
        },
        &listed);
    if (!whole) return "the prefix of an enumeration";
    return listed == model_.Listed() ? "" : "EnumDictionary0";
  }

  // As many as the dictionary should have in use.
  [[nodiscard]] std::size_t Nodes() const { return model_.Nodes(); }

 private:
  [[nodiscard]] TrieModel::Value Found(const std::string& key, bool descend, bool unique) const {
    void* value = &kCells[0];
    if (dict_.Find(key.c_str(), value, descend, unique)) return value;
    return value == &kCells[0] ? TrieModel::Value{} : &kCells[0];
  }

  // The same by Find0, for a text that ends where its memory ends.
  [[nodiscard]] TrieModel::Value FoundCut(const std::string& key, bool descend, bool unique) const {
    const std::unique_ptr<char[]> exact(new char[key.size()]);
    std::memcpy(exact.get(), key.data(), key.size());
    void** slot = nullptr;
    const auto length = static_cast<unsigned>(key.size());
    if (!dict_.Find0(length, exact.get(), slot, descend, unique)) return {};
    return *slot;
  }

  static inline std::array<char, 64> kCells{};  // what values point at

  std::size_t sets_ = 0;
  StrDict3 dict_;
  TrieModel model_;
};

}  // namespace hark
