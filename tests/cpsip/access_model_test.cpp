// Random reads and writes against a model of plain maps: whatever the order, a message and the model agree
// about every text, every count and every result, and the chain of text only grows.
#include <algorithm>
#include <map>
#include <random>

#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

constexpr unsigned kInstances = 4;
constexpr unsigned kParms = 5;

class Model {
 public:
  int Write(const FieldRow& row, unsigned instance, unsigned parm, const std::string& text) {
    if (row.HasInstances() && (instance == 0 || instance > 255)) return kAccessNoInstance;
    if (row.IsParameter() && parm == 0) return kAccessNoParameter;
    Record& record = Make(row, instance);
    if (!row.IsParameter()) {
      record.text = text;
    } else if (!text.empty()) {
      record.parms.resize(std::max<std::size_t>(record.parms.size(), parm));
      record.parms[parm - 1] = text;
    } else if (parm <= record.parms.size()) {
      record.parms.erase(record.parms.begin() + static_cast<std::ptrdiff_t>(parm - 1));
    }
    return kAccessOk;
  }

  // The text, or null for a parameter that is not there.
  const std::string* Read(const FieldRow& row, unsigned instance, unsigned parm) {
    static const std::string kNone;
    const auto found = records_.find({row.record, row.HasInstances() ? instance : 0});
    if (!row.IsParameter()) return found == records_.end() ? &kNone : &found->second.text;
    const bool there = found != records_.end() && parm >= 1 && parm <= found->second.parms.size();
    return there ? &found->second.parms[parm - 1] : nullptr;
  }

  bool Has(const FieldRow& row, unsigned instance) {
    return !row.HasInstances() || records_.contains({row.record, instance});
  }
  unsigned Parms(const FieldRow& row, unsigned instance) {
    const auto found = records_.find({row.record, row.HasInstances() ? instance : 0});
    return found == records_.end() ? 0 : static_cast<unsigned>(found->second.parms.size());
  }
  // Fields of one header share their count.
  unsigned Count(const FieldRow& row) {
    for (const auto& [count, number] : counts_) {
      if (count == row.count) return number;
    }
    return 0;
  }

 private:
  struct Record {
    std::string text;
    std::vector<std::string> parms;
  };

  Record& Make(const FieldRow& row, unsigned instance) {
    if (!row.HasInstances()) return records_[{row.record, 0}];
    for (unsigned before = 1; before < instance; ++before)
      (void)records_[{row.record, before}];
    auto found =
        std::ranges::find(counts_, row.count, &std::pair<std::uint8_t cpsip_msg::*, unsigned>::first);
    if (found == counts_.end()) found = counts_.insert(found, {row.count, 0});
    found->second = std::max(found->second, instance);
    return records_[{row.record, instance}];
  }

  std::map<std::pair<std::uint32_t, unsigned>, Record> records_;
  std::vector<std::pair<std::uint8_t cpsip_msg::*, unsigned>> counts_;
};

class ModelTest {
 public:
  explicit ModelTest(unsigned seed) : random_(seed), msg_(CPSIP_MsgCreate(seed % 2 == 0)) {}

  void Run(int steps) {
    for (int step = 0; step < steps && !::testing::Test::HasFailure(); ++step) {
      const FieldRow& row = FieldRows()[Below(static_cast<unsigned>(FieldRows().size()))];
      SCOPED_TRACE("step " + std::to_string(step) + ": " + row.name);
      if (Below(2) == 0) {
        WriteOne(row);
      } else {
        ReadOne(row);
      }
      if (step % 50 == 0) CheckThatOldTextStands();
    }
    CheckAll();
  }

 private:
  unsigned Below(unsigned end) { return static_cast<unsigned>(random_() % end); }

  std::string RandomText() {
    static constexpr unsigned kLongest[] = {1, 40, 40, 40, 256, 300, 700};
    std::string text(Below(5) == 0 ? 0 : 1 + Below(kLongest[Below(7)]), ' ');
    for (char& c : text)
      c = static_cast<char>(Below(256));
    return text;
  }

  void WriteOne(const FieldRow& row) {
    const unsigned instance =
        Below(40) == 0 ? (Below(2) == 0 ? 0 : 256 + Below(1000)) : 1 + Below(kInstances);
    const unsigned parm = Below(40) == 0 ? 0 : 1 + Below(kParms);
    std::string text = RandomText();
    // Whether clearing a parameter makes its instance is nobody's business.
    if (text.empty() && row.IsParameter() && !model_.Has(row, instance)) text = "x";
    ::testing::internal::CaptureStdout();  // a parameter 0 is reported
    EXPECT_EQ(Write(*msg_, row.id, instance, parm, text), model_.Write(row, instance, parm, text));
    (void)::testing::internal::GetCapturedStdout();
    ReadBack(row, instance, parm, 0, 0xFFFF);
  }

  void ReadOne(const FieldRow& row) {
    ReadBack(row, Below(kInstances + 2), 1 + Below(kParms + 2), Below(600), Below(600));
  }

  void ReadBack(const FieldRow& row, unsigned instance, unsigned parm, std::uint32_t offset,
                std::uint32_t max) {
    if (row.IsParameter() && parm == 0) return;
    const FieldRead read = Read(*msg_, row.id, instance, parm, offset, max);
    const std::string* text = model_.Read(row, instance, parm);
    ASSERT_EQ(read.result, text != nullptr ? kAccessOk : kAccessNoParameter);
    if (text == nullptr) return;
    const std::string part = offset < text->size() ? text->substr(offset, max) : "";
    EXPECT_EQ(read.text, part);
    EXPECT_EQ(read.remaining, offset < text->size() ? text->size() - offset - part.size() : 0U);
    if (row.HasInstances()) {
      EXPECT_EQ(msg_.get()->*row.count, model_.Count(row));
    }
  }

  void CheckThatOldTextStands() {
    std::string text = ChainText(msg_->chain.get());
    EXPECT_TRUE(std::string_view(text).starts_with(chain_)) << "text that was written has changed";
    chain_ = std::move(text);
  }

  void CheckAll() {
    CheckThatOldTextStands();
    for (const FieldRow& row : FieldRows()) {
      SCOPED_TRACE(row.name);
      for (unsigned instance = 1; instance <= kInstances; ++instance) {
        for (unsigned parm = 1; parm <= kParms + 1; ++parm)
          ReadBack(row, instance, parm, 0, 0xFFFF);
      }
      if (!row.HasInstances()) continue;
      EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg_, row.id), model_.Count(row));
      for (unsigned instance = 1; row.IsParameter() && instance <= kInstances; ++instance) {
        EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg_, row.id, instance), model_.Parms(row, instance));
      }
    }
  }

  std::mt19937 random_;
  cpsip_msg_ptr msg_;
  Model model_;
  std::string chain_;
};

TEST(AccessModelTest, MessageAndModelAgreeAfterAnySequence) {
  for (unsigned seed = 1; seed <= 12 && !::testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    ModelTest(seed).Run(1500);
  }
}

}  // namespace
}  // namespace hark::test
