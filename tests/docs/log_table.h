// The table of log lines that a document has, against what the sources log.
#pragma once

#include <string>
#include <vector>

#include "docs/document.h"
#include "docs/source_text.h"

namespace hark::test {

// Each of the messages has a row `| level | line |` in the document, and each row is such a message.
void expect_log_table(const Document& document, const std::vector<LogText>& messages);

}  // namespace hark::test
