// Every example of the documents runs against the real daemon.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <string_view>

#include "docs/document.h"
#include "docs/example_runner.h"

namespace hark::test {
namespace {

// The documents that have examples.
constexpr std::array<std::string_view, 4> kDocuments{"docs/control-port.md", "docs/panels.md",
                                                     "docs/links.md", "docs/discovery.md"};

class ExamplesOf : public testing::TestWithParam<std::string_view> {};

TEST_P(ExamplesOf, TheDocumentRunAsItShowsThem) {
  const Document document = read_document(GetParam());
  for (const Fault& fault : document.faults)
    ADD_FAILURE_AT(document.path.c_str(), fault.line) << fault.reason;
  EXPECT_FALSE(document.examples.empty());
  for (const Example& example : document.examples)
    run_example(document, example);
}

INSTANTIATE_TEST_SUITE_P(Documents, ExamplesOf, testing::ValuesIn(kDocuments), [](const auto& tested) {
  std::string name(tested.param);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
  return name;
});

}  // namespace
}  // namespace hark::test
