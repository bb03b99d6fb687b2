// Runs one example of a document on a station of its own: a real harkd beside a simulated routing daemon, as
// the documents describe it. Every difference is a test failure at the line of the document.
#pragma once

#include "docs/document.h"

namespace hark::test {

void run_example(const Document& document, const Example& example);

}  // namespace hark::test
