// A dictionary from texts to untyped pointers, a trie of characters whose nodes come from a pool. A lookup
// may also take the leading part of a key for the key. The line manager keeps its numbers in one. Owns its
// nodes and no value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace hark {

class StrDict3 {
 public:
  // What letters become when case isn't kept: 0 is lower case, any other value upper case.
  enum EStoreCase : int { STORE_LOWER = 0, STORE_UPPER = 1 };

  // One character of a key. Siblings ascend by `cChar` as signed characters, so bytes from 0x80 on come
  // first.
  struct Node {
    std::uint8_t bValid = 0;  // a key ends here
    char cChar = '\0';        // as it is stored, after folding
    Node* pNext = nullptr;    // next sibling; in a free node, the next free one
    Node* pChild = nullptr;   // first node of the next level
    void* pValue = nullptr;   // borrowed, means something with bValid only
  };

  static constexpr std::size_t kNodesPerBlock = 16;

  // What the pool takes from the heap at once.
  struct AllocBlockNode {
    std::array<Node, kNodesPerBlock> nodes{};
    AllocBlockNode* pNextBlock = nullptr;
  };

  // A pool of nodes, which several dictionaries may share. Requires that it outlives them all: they give
  // their nodes back at their end. Memory goes back to the heap when the pool is destroyed, never before.
  struct Allocator {
    Allocator() = default;
    ~Allocator();
    Allocator(const Allocator&) = delete;
    Allocator& operator=(const Allocator&) = delete;

    // A node with whatever it held last; the caller fills all of it.
    [[nodiscard]] Node* Get();
    // Takes a node that Get gave.
    void Release(Node* node);

    Node* pFree = nullptr;              // chained by pNext
    AllocBlockNode* pBlocks = nullptr;  // owned
    std::uint32_t nTotal = 0;           // nodes allocated
    std::uint32_t nUsed = 0;            // nodes in use

   private:
    void AddBlock();
  };

  // Told of one key; `value` may be replaced. False ends the enumeration.
  using EnumCallback = bool (*)(const char* key, void*& value, void* ctx);

  static constexpr unsigned kLongestLookup = 65535;  // characters of a key that Find looks at
  static constexpr std::size_t kMostLevels = 128;    // of an enumeration

  // With `keepCase` keys are stored as they are and `storeCase` plays no part; otherwise ASCII letters are
  // folded, in keys that are stored and in keys that are asked for. Borrows `allocator`; null: a pool of its
  // own.
  StrDict3(bool keepCase, EStoreCase storeCase, Allocator* allocator);
  ~StrDict3();
  StrDict3(const StrDict3&) = delete;
  StrDict3& operator=(const StrDict3&) = delete;

  // Stores `value`, borrowed, under `key`, in place of one that is there. False for a null or empty key, the
  // only failure.
  bool Set(const char* key, void* value);

  // Gives the value of `key` in `value`, which is left alone when there is none. With `descend` a key that
  // isn't stored stands for the one below it that first children lead to; with `unique` too, only when
  // nothing but that one key continues it. A key that is stored is always found as itself. Looks at the first
  // kLongestLookup characters.
  [[nodiscard]] bool Find(const char* key, void*& value, bool descend, bool unique) const;
  // The same for a key of at most `len` characters, which needs no NUL behind them. Gives the place of the
  // value, valid until the key is removed.
  [[nodiscard]] bool Find0(unsigned int len, const char* key, void**& slot, bool descend, bool unique) const;

  // True when `key` was there.
  bool Remove(const char* key);
  void RemoveAll();

  // Tells of each key at `start`, its later siblings and below them, in ascending order, a key before those
  // that continue it. The texts begin with `prefix`, which the caller knows to lead there (null: empty), and
  // are valid during the call. A null `start` is an empty level. False when the callback ended it. Levels
  // below kMostLevels, counted from `start`, are left out. Requires a callback that stores and removes
  // nothing.
  bool EnumDictionary0(const char* prefix, Node* start, EnumCallback callback, void* ctx) const;
  // Where an enumeration of all keys starts; null when there are no nodes.
  [[nodiscard]] Node* Root() const { return m_pRoot; }

 private:
  bool FindRootNode(Node*& node, unsigned int len, const char* key) const;
  bool FindNode(Node*& node, unsigned int len, const char* key, bool descend, bool unique) const;
  [[nodiscard]] Node* GetFreeNode(char c);
  void ReleaseAllNodes(Node* first);
  [[nodiscard]] char ConvertCase(char c) const;

  Allocator* m_pAllocator;  // borrowed, or the own one
  Allocator m_OwnAllocator;
  bool m_bKeepCase;
  EStoreCase m_eStoreCase;
  Node* m_pRoot = nullptr;  // first node of the top level
};

}  // namespace hark
