#include "sipua/SimpleList4.h"

namespace hark {

SimpleList4::Allocator::~Allocator() {
  while (pFree != nullptr)
    delete GetNode();
}

SimpleList4::ListNode* SimpleList4::Allocator::GetNode() {
  if (pFree == nullptr) return new ListNode;
  ListNode* node = pFree;
  pFree = node->pNext;
  return node;
}

void SimpleList4::Allocator::ReleaseNode(ListNode* node) {
  node->pNext = pFree;
  pFree = node;
}

SimpleList4::Iterator& SimpleList4::Iterator::operator++() {
  if (m_bStay) {
    m_bStay = false;
  } else if (m_pNode != nullptr) {
    m_pNode = m_pNode->pNext;
  }
  return *this;
}

// A stored null ends RemoveAll early; here nobody is left to take out the rest.
SimpleList4::~SimpleList4() {
  while (m_pHead != nullptr)
    RemoveAll();
}

SimpleList4::ListNode* SimpleList4::NewNode(ListNode* next, void* data) {
  ListNode* node = m_pAllocator.GetNode();
  node->pNext = next;
  node->pData = data;
  return node;
}

std::uint32_t SimpleList4::AddHead(void* data) {
  m_pHead = NewNode(m_pHead, data);
  if (m_pTail == nullptr) m_pTail = m_pHead;
  return ++m_nCount;
}

std::uint32_t SimpleList4::AddTail(void* data) {
  ListNode* node = NewNode(nullptr, data);
  if (m_pTail != nullptr) {
    m_pTail->pNext = node;
  } else {
    m_pHead = node;
  }
  m_pTail = node;
  return ++m_nCount;
}

void* SimpleList4::RemoveHead() {
  if (m_pHead == nullptr) return nullptr;
  void* data = m_pHead->pData;
  (void)RemoveNode(m_pHead);
  return data;
}

// Kept: an entry that is null ends it, and what is behind stays. The list's own sign of emptiness is that
// null; a user who stores one calls again.
void SimpleList4::RemoveAll() {
  while (RemoveHead() != nullptr) {
  }
}

int SimpleList4::ExchHead() {
  if (m_nCount < 2) return 0;
  void* first = RemoveHead();
  void* second = RemoveHead();
  (void)AddHead(first);
  (void)AddHead(second);
  return 1;
}

int SimpleList4::ExchTail() {
  if (m_nCount < 2) return 0;
  ListNode* before_last = m_pHead;
  while (before_last->pNext != m_pTail)
    before_last = before_last->pNext;
  void* first = before_last->pData;
  void* second = m_pTail->pData;
  (void)RemoveNode(before_last);
  (void)RemoveNode(m_pTail);
  (void)AddTail(second);
  (void)AddTail(first);
  return 1;
}

SimpleList4::ListNode* SimpleList4::FindData(void* data) const {
  ListNode* node = m_pHead;
  while (node != nullptr && node->pData != data)
    node = node->pNext;
  return node;
}

bool SimpleList4::Exists(void* data) const { return FindData(data) != nullptr; }

int SimpleList4::Remove(void* data) { return RemoveNode(FindData(data)); }

int SimpleList4::Replace(void* oldData, void* newData) {
  ListNode* node = FindData(oldData);
  if (node == nullptr) return 0;
  node->pData = newData;
  return 1;
}

int SimpleList4::RemoveNode(ListNode* node) {
  if (node == nullptr) return 0;
  ListNode* previous = nullptr;
  ListNode* at = m_pHead;
  while (at != nullptr && at != node) {
    previous = at;
    at = at->pNext;
  }
  if (at == nullptr) return 0;
  if (previous != nullptr) {
    previous->pNext = node->pNext;
  } else {
    m_pHead = node->pNext;
  }
  if (m_pTail == node) m_pTail = previous;
  m_pAllocator.ReleaseNode(node);
  if (m_nCount > 0) --m_nCount;
  return 1;
}

}  // namespace hark
