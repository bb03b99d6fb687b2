// The writers below the formatter: text, fields, name-addrs and parameters into a chain of blocks, with small
// blocks so that each text runs over.
#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

class WritersTest : public ::testing::Test {
 protected:
  // Writes with a chain whose blocks have `capacity` bytes, and returns all of it.
  template <typename Action>
  std::string Written(std::uint16_t capacity, Action&& action) {
    chain_.reset(cpsip_osa_buf_alloc(capacity));
    cpsip_osa_writer out{chain_.get()};
    action(out);
    EXPECT_EQ(out.block->next, nullptr) << "the writer stands in the last block";
    for (const cpsip_osa_buf* block = chain_.get(); block->next != nullptr; block = block->next) {
      EXPECT_EQ(block->used, capacity) << "no gap before the next block";
      EXPECT_EQ(block->next->capacity, capacity);
    }
    return ChainText(chain_.get());
  }

  std::uint16_t Chain(std::initializer_list<std::string_view> texts) {
    std::uint16_t head = 0;
    for (const std::string_view* text = texts.end(); text != texts.begin();) {
      const std::uint16_t index =
          text[-1].empty() ? cpsip_msg_alloc_field_ptr(*msg_) : PoolText(*msg_, text[-1]);
      msg_->fields[index].next_parm = head;
      head = index;
      --text;
    }
    return head;
  }

  cpsip_osa_chain chain_;
  const cpsip_msg_ptr msg_ = CPSIP_MsgCreate(true);
};

constexpr std::uint16_t kCapacities[] = {1, 2, 7, 8, 256, 1500};

TEST_F(WritersTest, TextGoesOnInTheNextBlockAndItsLengthIsReturned) {
  for (const std::uint16_t capacity : kCapacities) {
    SCOPED_TRACE(capacity);
    for (const std::size_t length : {0UL, 1UL, 7UL, 8UL, 9UL, 2000UL}) {
      EXPECT_EQ(Written(capacity,
                        [&](cpsip_osa_writer& out) {
                          EXPECT_EQ(cpsip_msg_copy_str_to_osa_buf("ab", out), 2U);
                          EXPECT_EQ(cpsip_msg_copy_str_to_osa_buf(Pattern(length), out), length);
                          EXPECT_EQ(cpsip_msg_copy_str_to_osa_buf("", out), 0U);
                        }),
                "ab" + Pattern(length));
    }
  }
}

// 256 bytes lie in one block, each further 256 in another.
constexpr std::size_t kFieldLengths[] = {0, 1, 255, 256, 257, 512, 513, 1000};

TEST_F(WritersTest, FieldThatLiesInManyBlocksIsWrittenWhole) {
  Put(*msg_, CPSIP_FLD_CALL_ID, "short");
  for (const std::size_t length : kFieldLengths) {
    Put(*msg_, CPSIP_FLD_SUBJECT, Pattern(length));
    for (const std::uint16_t capacity : kCapacities) {
      SCOPED_TRACE(std::to_string(length) + " bytes into blocks of " + std::to_string(capacity));
      EXPECT_EQ(Written(capacity,
                        [&](cpsip_osa_writer& out) {
                          cpsip_msg_copy_osa_buf_field_to_osa_buf(msg_->call_id, out);
                          cpsip_msg_copy_osa_buf_field_to_osa_buf(cpsip_field{}, out);
                          cpsip_msg_copy_osa_buf_field_to_osa_buf(msg_->subject, out);
                        }),
                "short" + Pattern(length));
    }
  }
}

TEST_F(WritersTest, FieldIsCopiedToAFlatBufferWithoutNul) {
  for (const std::size_t length : kFieldLengths) {
    SCOPED_TRACE(length);
    Put(*msg_, CPSIP_FLD_SUBJECT, Pattern(length));
    std::string room(length + 1, '?');
    EXPECT_EQ(cpsip_msg_copy_osa_buf_field_to_str(msg_->subject, room.data()), length);
    EXPECT_EQ(room, Pattern(length) + "?");
  }
}

struct NameAddrRow {
  std::string_view display, uri, text;
};

TEST_F(WritersTest, NameAddrHasBracketsOnceAndOneBlankAheadOfEachPart) {
  const NameAddrRow rows[] = {
      {"", "", ""},
      {"Bob", "", " Bob"},
      {"", "sip:b@h", " <sip:b@h>"},
      {"", "<sip:b@h>", " <sip:b@h>"},
      {"", "<sip:b@h", " <sip:b@h"},
      {"Bob", "sip:b@h", " Bob <sip:b@h>"},
      {"\"Bob B.\"", "<sip:b@h>;x", " \"Bob B.\" <sip:b@h>;x"},
      {"Bob", "b<h", " Bob <b<h>"},
  };
  for (const NameAddrRow& row : rows) {
    SCOPED_TRACE(row.text);
    Put(*msg_, CPSIP_FLD_TO_DISPLAY, row.display);
    Put(*msg_, CPSIP_FLD_TO_URI, row.uri);
    for (const std::uint16_t capacity : kCapacities) {
      EXPECT_EQ(Written(capacity,
                        [&](cpsip_osa_writer& out) {
                          cpsip_msg_copy_name_addr_to_osa_buf(msg_->to_display, msg_->to_uri, out);
                        }),
                row.text);
    }
  }
}

TEST_F(WritersTest, ParametersFollowSemicolonsAndEndTheLine) {
  const auto write = [&](std::uint16_t index) {
    return Written(4, [&](cpsip_osa_writer& out) { cpsip_msg_copy_parms_to_osa_buf(*msg_, index, out); });
  };
  EXPECT_EQ(write(0), "\r\n");
  EXPECT_EQ(write(Chain({"tag=1"})), ";tag=1\r\n");
  EXPECT_EQ(write(Chain({"a", "b=2", "c"})), ";a;b=2;c\r\n");
  EXPECT_EQ(write(Chain({"", "b", "", "d", ""})), ";b;d\r\n");
  EXPECT_EQ(write(Chain({""})), "\r\n");
}

TEST_F(WritersTest, ListIsJoinedByCommasAndEndsTheLine) {
  const auto write = [&](std::uint16_t index) {
    return Written(4,
                   [&](cpsip_osa_writer& out) { cpsip_msg_copy_comma_parms_to_osa_buf(*msg_, index, out); });
  };
  EXPECT_EQ(write(0), "\r\n");
  EXPECT_EQ(write(Chain({"a"})), "a\r\n");
  EXPECT_EQ(write(Chain({"a", "bc", "d"})), "a, bc, d\r\n");
}

TEST_F(WritersTest, InstancesAreWalkedWithTheirSeparator) {
  Put(*msg_, CPSIP_FLD_VIA_HOST, "a", 1);
  Put(*msg_, CPSIP_FLD_VIA_HOST, "b", 2);
  Put(*msg_, CPSIP_FLD_VIA_HOST, "c", 3);
  std::uint16_t index = msg_->via_host_head;
  EXPECT_EQ(Written(2,
                    [&](cpsip_osa_writer& out) {
                      cpsip_msg_copy_field_using_idx_to_osa_buf(*msg_, 0, index, out);
                      cpsip_msg_copy_field_using_idx_to_osa_buf(*msg_, ' ', index, out);
                      cpsip_msg_copy_field_using_idx_to_osa_buf(*msg_, 13, index, out);
                      EXPECT_EQ(index, 0) << "the last instance has no next";
                      cpsip_msg_copy_field_using_idx_to_osa_buf(*msg_, 0, index, out);
                    }),
            "ab c\r\n");
  EXPECT_EQ(index, 0);
}

}  // namespace
}  // namespace hark::test
