// The lines of a service, and the table that maps dialled numbers to them.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "sipua/SimpleList4.h"
#include "sipua/SipLine.h"
#include "sipua/StrDict3.h"

namespace hark {

class SipLineManager {
 public:
  // `lines` idle lines. Borrows `service`, which owns it. With `matchNumber` an incoming call goes to a line
  // of its number; with `partialTailMatch` numbers are cut to 255 characters first.
  SipLineManager(SipServiceUA& service, unsigned short lines, bool matchNumber, bool partialTailMatch);
  ~SipLineManager() = default;
  SipLineManager(const SipLineManager&) = delete;
  SipLineManager& operator=(const SipLineManager&) = delete;

  // Puts a line behind those that the number has. A line may have several numbers. 1; 0 when numbers are not
  // matched, there is no such line, or the number is null or empty.
  int MapNumberToLine(unsigned line, const char* number);
  // Null for an index that is none.
  [[nodiscard]] SipLine* GetLineByIndex(unsigned line);
  // The idle line with the lowest index, or null.
  [[nodiscard]] SipLine* GetFreeLine();
  // The first idle line of the number, or of the only number that begins with it; null for none. Without
  // `matchNumber` as GetFreeLine.
  [[nodiscard]] SipLine* GetFreeLineByNumber(const char* number);

 private:
  // The lines of a number; null for none.
  [[nodiscard]] SimpleList4* FindList(const char* number) const;
  [[nodiscard]] SimpleList4* NewList(const char* number);

  std::vector<std::unique_ptr<SipLine>> m_ppLines;
  bool m_bMatchNumber;
  bool m_bPartialTailMatch;
  StrDict3 m_Numbers;                                 // number to one of m_Lists
  SimpleList4::Allocator m_ListNodes;                 // of all the lists
  std::vector<std::unique_ptr<SimpleList4>> m_Lists;  // each of lines; they go ahead of their nodes
};

}  // namespace hark
