#include "sipua/SipLineManager.h"

#include <array>

#include "base/text.h"

namespace hark {
namespace {

constexpr std::size_t kMaxNumber = 255;

// A number as it is stored and looked for.
class Number {
 public:
  Number(const char* text, bool bounded) : m_pText(text) {
    if (!bounded || text == nullptr) return;
    (void)copy_text(m_Copy, text);
    m_pText = m_Copy.data();
  }
  [[nodiscard]] const char* text() const { return m_pText; }

 private:
  std::array<char, kMaxNumber + 1> m_Copy;
  const char* m_pText;
};

}  // namespace

SipLineManager::SipLineManager(SipServiceUA& service, unsigned short lines, bool matchNumber,
                               bool partialTailMatch)
    : m_bMatchNumber(matchNumber),
      m_bPartialTailMatch(partialTailMatch),
      m_Numbers(true, StrDict3::STORE_LOWER, nullptr) {
  m_ppLines.reserve(lines);
  for (unsigned line = 0; line < lines; ++line)
    m_ppLines.push_back(std::make_unique<SipLine>(service, static_cast<unsigned short>(line)));
}

// Kept: besides an exact number the only one that begins with it is taken, for mapping too: a line that is
// mapped to "12" behind one of "1234" joins the list of that one.
SimpleList4* SipLineManager::FindList(const char* number) const {
  void* list = nullptr;
  return m_Numbers.Find(number, list, true, true) ? static_cast<SimpleList4*>(list) : nullptr;
}

SimpleList4* SipLineManager::NewList(const char* number) {
  auto list = std::make_unique<SimpleList4>(m_ListNodes);
  if (!m_Numbers.Set(number, list.get())) return nullptr;
  m_Lists.push_back(std::move(list));
  return m_Lists.back().get();
}

int SipLineManager::MapNumberToLine(unsigned line, const char* number) {
  if (!m_bMatchNumber || line >= m_ppLines.size()) return 0;
  const Number bounded(number, m_bPartialTailMatch);
  SimpleList4* list = FindList(bounded.text());
  if (list == nullptr) list = NewList(bounded.text());
  if (list == nullptr) return 0;
  (void)list->AddTail(m_ppLines[line].get());
  return 1;
}

SipLine* SipLineManager::GetLineByIndex(unsigned line) {
  return line < m_ppLines.size() ? m_ppLines[line].get() : nullptr;
}

SipLine* SipLineManager::GetFreeLine() {
  for (const auto& line : m_ppLines) {
    if (line->IsIdle()) return line.get();
  }
  return nullptr;
}

SipLine* SipLineManager::GetFreeLineByNumber(const char* number) {
  if (!m_bMatchNumber) return GetFreeLine();
  SimpleList4* const list = FindList(Number(number, m_bPartialTailMatch).text());
  if (list == nullptr) return nullptr;
  for (auto at = list->GetIterator(); !at.End(); ++at) {
    auto* const line = static_cast<SipLine*>(at.GetRef());
    if (line->IsIdle()) return line;
  }
  return nullptr;
}

}  // namespace hark
