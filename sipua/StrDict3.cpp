#include "sipua/StrDict3.h"

#include <string>

namespace hark {
namespace {

// The order of siblings. Said here, as plain char has a sign on some machines and none on others.
bool is_below(char a, char b) { return static_cast<signed char>(a) < static_cast<signed char>(b); }

bool is_empty(const char* key) { return key == nullptr || *key == '\0'; }

}  // namespace

StrDict3::Allocator::~Allocator() {
  while (pBlocks != nullptr) {
    AllocBlockNode* block = pBlocks;
    pBlocks = block->pNextBlock;
    delete block;
  }
}

void StrDict3::Allocator::AddBlock() {
  auto* block = new AllocBlockNode;
  block->pNextBlock = pBlocks;
  pBlocks = block;
  nTotal += static_cast<std::uint32_t>(kNodesPerBlock);
  for (std::size_t i = kNodesPerBlock; i-- > 0;) {
    block->nodes[i].pNext = pFree;
    pFree = &block->nodes[i];
  }
}

StrDict3::Node* StrDict3::Allocator::Get() {
  if (pFree == nullptr) AddBlock();
  Node* node = pFree;
  pFree = node->pNext;
  ++nUsed;
  return node;
}

void StrDict3::Allocator::Release(Node* node) {
  --nUsed;
  node->pNext = pFree;
  pFree = node;
}

StrDict3::StrDict3(bool keepCase, EStoreCase storeCase, Allocator* allocator)
    : m_pAllocator(allocator != nullptr ? allocator : &m_OwnAllocator),
      m_bKeepCase(keepCase),
      m_eStoreCase(storeCase) {}

StrDict3::~StrDict3() { RemoveAll(); }

char StrDict3::ConvertCase(char c) const {
  constexpr char kCaseBit = 'a' - 'A';
  if (m_bKeepCase) return c;
  if (m_eStoreCase == STORE_LOWER) return c >= 'A' && c <= 'Z' ? static_cast<char>(c + kCaseBit) : c;
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - kCaseBit) : c;
}

StrDict3::Node* StrDict3::GetFreeNode(char c) {
  Node* node = m_pAllocator->Get();
  *node = Node{};
  node->cChar = c;
  return node;
}

bool StrDict3::Set(const char* key, void* value) {
  if (is_empty(key)) return false;
  Node** link = &m_pRoot;  // what points to the level, then to the place in it
  for (;;) {
    const char c = ConvertCase(*key);
    while (*link != nullptr && is_below((*link)->cChar, c))
      link = &(*link)->pNext;
    if (*link == nullptr || (*link)->cChar != c) {
      Node* node = GetFreeNode(c);
      node->pNext = *link;
      *link = node;
    }
    if (*++key == '\0') break;
    link = &(*link)->pChild;
  }
  (*link)->bValid = 1;
  (*link)->pValue = value;
  return true;
}

bool StrDict3::FindRootNode(Node*& node, unsigned int len, const char* key) const {
  if (len == 0 || is_empty(key)) return false;
  Node* level = m_pRoot;
  for (unsigned int i = 0; i < len && key[i] != '\0'; ++i) {
    const char c = ConvertCase(key[i]);
    while (level != nullptr && is_below(level->cChar, c))
      level = level->pNext;
    if (level == nullptr || level->cChar != c) return false;
    node = level;
    level = level->pChild;
  }
  return true;
}

bool StrDict3::FindNode(Node*& node, unsigned int len, const char* key, bool descend, bool unique) const {
  if (!FindRootNode(node, len, key)) return false;
  if (node->bValid != 0) return true;
  if (!descend) return false;
  do {
    node = node->pChild;
    if (node == nullptr) return false;
    if (unique && node->pNext != nullptr) return false;
  } while (node->bValid == 0);
  // Kept: a key that a longer one continues is no answer to a part of both. Two numbers begin that way, and a
  // call for part of a number reaches the lines of the one number that can be meant, or none.
  return !unique || node->pChild == nullptr;
}

bool StrDict3::Find0(unsigned int len, const char* key, void**& slot, bool descend, bool unique) const {
  Node* node = nullptr;
  if (!FindNode(node, len, key, descend, unique)) return false;
  slot = &node->pValue;
  return true;
}

bool StrDict3::Find(const char* key, void*& value, bool descend, bool unique) const {
  void** slot = nullptr;
  if (!Find0(kLongestLookup, key, slot, descend, unique)) return false;
  value = *slot;
  return true;
}

bool StrDict3::Remove(const char* key) {
  if (is_empty(key)) return false;
  Node** link = &m_pRoot;  // of the parent or of the previous sibling
  for (;;) {
    const char c = ConvertCase(*key);
    while (*link != nullptr && (*link)->cChar != c)
      link = &(*link)->pNext;
    if (*link == nullptr) return false;
    if (*++key == '\0') break;
    link = &(*link)->pChild;
  }
  Node* node = *link;
  if (node->bValid == 0) return false;
  if (node->pChild != nullptr) {
    node->bValid = 0;
    return true;
  }
  // Kept: nodes above that lead to nothing now stay. They hold no key, and the next key of that beginning
  // finds them in place. A lookup of a leading part may end at them: it then finds too little, never a wrong
  // key.
  *link = node->pNext;
  m_pAllocator->Release(node);
  return true;
}

void StrDict3::RemoveAll() {
  ReleaseAllNodes(m_pRoot);
  m_pRoot = nullptr;
}

// A key may be of any length, and a call per level or sibling would need a stack of that depth. So each level
// is hung behind the end of the one chain that is being released.
void StrDict3::ReleaseAllNodes(Node* first) {
  Node* last = first;
  for (Node* node = first; node != nullptr;) {
    while (last->pNext != nullptr)
      last = last->pNext;
    last->pNext = node->pChild;
    Node* next = node->pNext;
    if (node == last) last = next;
    m_pAllocator->Release(node);
    node = next;
  }
}

// Without a caller so far.
bool StrDict3::EnumDictionary0(const char* prefix, Node* start, EnumCallback callback, void* ctx) const {
  std::string key = prefix != nullptr ? prefix : "";
  std::array<Node*, kMostLevels> above{};
  std::size_t depth = 0;
  Node* node = start;
  for (;;) {
    if (node == nullptr) {
      if (depth == 0) return true;
      node = above[--depth]->pNext;
      key.pop_back();
      continue;
    }
    key.push_back(node->cChar);
    if (node->bValid != 0 && !callback(key.c_str(), node->pValue, ctx)) return false;
    above[depth++] = node;
    node = depth < kMostLevels ? node->pChild : nullptr;
  }
}

}  // namespace hark
