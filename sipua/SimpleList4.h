// A singly linked list of untyped pointers, whose nodes come from a pool that several lists share. The line
// manager keeps the lines of each number in one. Owns its nodes and nothing that they point to.
#pragma once

#include <cstdint>

namespace hark {

class SimpleList4 {
 public:
  struct ListNode {
    ListNode* pNext = nullptr;  // in a free node, the next free one
    void* pData = nullptr;      // borrowed
  };

  // A pool of nodes. Requires that it outlives the lists on it: nodes that are in a list are not its
  // business.
  struct Allocator {
    Allocator() = default;
    ~Allocator();
    Allocator(const Allocator&) = delete;
    Allocator& operator=(const Allocator&) = delete;

    // A node with whatever it held last; the caller fills all of it.
    [[nodiscard]] ListNode* GetNode();
    // Takes a node that GetNode gave.
    void ReleaseNode(ListNode* node);

    ListNode* pFree = nullptr;  // a stack, owned
  };

  // A place in a list, valid until its node is removed. For a walk:
  //   for (auto at = list.GetIterator(); !at.End(); ++at) use(at.GetRef());
  struct Iterator {
    // To the next entry; stays at the end.
    Iterator& operator++();
    [[nodiscard]] bool End() const { return m_pNode == nullptr; }
    // Requires that it isn't at the end.
    [[nodiscard]] void*& GetRef() const { return m_pNode->pData; }

    SimpleList4* m_pList = nullptr;  // borrowed
    ListNode* m_pNode = nullptr;
    // For a walk that removes: who has moved on from an entry to take it out sets this, and the next ++
    // stays.
    bool m_bStay = false;
  };

  // Borrows `allocator`.
  explicit SimpleList4(Allocator& allocator) : m_pAllocator(allocator) {}
  ~SimpleList4();
  SimpleList4(const SimpleList4&) = delete;
  SimpleList4& operator=(const SimpleList4&) = delete;

  // Both borrow `data` and return the new number of entries.
  std::uint32_t AddHead(void* data);
  std::uint32_t AddTail(void* data);
  // Takes the first entry out and returns it; null from an empty list.
  void* RemoveHead();
  // Takes entries out until one is null.
  void RemoveAll();

  // Swap the first two entries, or the last two. 1, or 0 when there are fewer than two.
  int ExchHead();
  int ExchTail();

  // The next three act on the first entry that is `data`. Remove and Replace: 1, or 0 when there is none.
  [[nodiscard]] bool Exists(void* data) const;
  int Remove(void* data);
  int Replace(void* oldData, void* newData);

  // Takes `node` out if it is one of this list: 1, otherwise 0.
  int RemoveNode(ListNode* node);

  [[nodiscard]] std::uint32_t Count() const { return m_nCount; }
  [[nodiscard]] Iterator GetIterator() { return {this, m_pHead, false}; }

 private:
  [[nodiscard]] ListNode* NewNode(ListNode* next, void* data);
  [[nodiscard]] ListNode* FindData(void* data) const;

  ListNode* m_pHead = nullptr;
  ListNode* m_pTail = nullptr;
  std::uint32_t m_nCount = 0;
  Allocator& m_pAllocator;
};

}  // namespace hark
