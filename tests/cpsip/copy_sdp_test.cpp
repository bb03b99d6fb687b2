// Copies of session descriptions: both slots, with records and text of their own.
#include <algorithm>
#include <memory>

#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

std::string Encoded(const cpsdp_parms* parms, std::string_view pool) {
  std::string text(kCpsdpMaxEncoded, ' ');
  std::uint32_t length = 0;
  EXPECT_EQ(CPSDP_EncodeSession(parms, pool, text, length), 0);
  return text.substr(0, length);
}

class CopySdpTest : public ::testing::Test {
 protected:
  cpsip_msg_ptr src_ = CPSIP_MsgCreate(true);
  cpsip_msg_ptr dst_ = CPSIP_MsgCreate(true);
};

TEST_F(CopySdpTest, SessionIsCopiedWithMediaAndOwnedText) {
  PutSession(*src_);
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  ASSERT_NE(dst_->sdp, nullptr);
  EXPECT_NE(dst_->sdp, src_->sdp);
  ASSERT_EQ(dst_->sdp->m_count, 1);
  EXPECT_NE(dst_->sdp->media[0], src_->sdp->media[0]);
  EXPECT_TRUE(dst_->sdp_text.owned());
  EXPECT_FALSE(src_->sdp_text.owned());
  EXPECT_NE(dst_->sdp_text.view().data(), src_->sdp_text.view().data());
  EXPECT_EQ(dst_->sdp_text.view(), kSessionPool);
  EXPECT_EQ(dst_->sdp->s_name.in(dst_->sdp_text.view()), "talk");
  EXPECT_EQ(dst_->sdp2, nullptr);
}

TEST_F(CopySdpTest, SecondSlotIsCopiedWithItsOwnText) {
  PutSession(*src_);
  PutSecondSession(*src_);
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  ASSERT_NE(dst_->sdp, nullptr);
  ASSERT_NE(dst_->sdp2, nullptr);
  EXPECT_EQ(dst_->sdp_text.view(), kSessionPool);
  EXPECT_EQ(dst_->sdp2_text.view(), kSecondSessionPool);
  EXPECT_TRUE(dst_->sdp2_text.owned());
  EXPECT_NE(dst_->sdp2_text.view().data(), src_->sdp2_text.view().data());
  EXPECT_EQ(dst_->sdp2->s_name.in(dst_->sdp2_text.view()), "answer");
}

TEST_F(CopySdpTest, SecondSlotAloneIsCopied) {
  PutSecondSession(*src_);
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  EXPECT_EQ(dst_->sdp, nullptr);
  ASSERT_NE(dst_->sdp2, nullptr);
  EXPECT_EQ(dst_->sdp2_text.view(), kSecondSessionPool);
}

TEST_F(CopySdpTest, CopyOutlivesItsSource) {
  PutSession(*src_);
  auto text = std::make_unique<char[]>(kSessionPool.size());
  std::copy(kSessionPool.begin(), kSessionPool.end(), text.get());
  src_->sdp_text.own(std::move(text), static_cast<std::uint32_t>(kSessionPool.size()));
  const std::string before = Encoded(src_->sdp.get(), src_->sdp_text.view());
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  src_.reset();
  EXPECT_EQ(Encoded(dst_->sdp.get(), dst_->sdp_text.view()), before);
}

TEST_F(CopySdpTest, FilledSlotReplacesThatOfTheDestination) {
  PutSession(*src_);
  PutSession(*dst_);
  dst_->sdp->m_count = kCpsdpMaxMedia;
  for (auto& media : dst_->sdp->media)
    media = std::make_unique<cpsdp_media>();
  dst_->sdp_text.own(std::make_unique<char[]>(4), 4);
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  EXPECT_EQ(dst_->sdp->m_count, 1);
  EXPECT_EQ(dst_->sdp->media[1], nullptr);
  EXPECT_EQ(dst_->sdp_text.view(), kSessionPool);
}

TEST_F(CopySdpTest, EmptySlotLeavesThatOfTheDestination) {
  PutSession(*dst_);
  PutSecondSession(*dst_);
  const cpsdp_parms* const first = dst_->sdp.get();
  const cpsdp_parms* const second = dst_->sdp2.get();
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  EXPECT_EQ(dst_->sdp.get(), first);
  EXPECT_EQ(dst_->sdp2.get(), second);
  EXPECT_EQ(dst_->sdp_text.view(), kSessionPool);
}

TEST_F(CopySdpTest, AllFourMediaAreCopied) {
  PutSession(*src_);
  src_->sdp->m_count = kCpsdpMaxMedia;
  for (std::size_t at = 0; at < kCpsdpMaxMedia; ++at) {
    src_->sdp->media[at] = std::make_unique<cpsdp_media>();
    src_->sdp->media[at]->m_port = static_cast<std::uint16_t>(6000 + at);
  }
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  for (std::size_t at = 0; at < kCpsdpMaxMedia; ++at) {
    ASSERT_NE(dst_->sdp->media[at], nullptr);
    EXPECT_EQ(dst_->sdp->media[at]->m_port, 6000 + at);
  }
}

TEST_F(CopySdpTest, SessionWithoutTextIsCopied) {
  src_->sdp = std::make_unique<cpsdp_parms>();
  src_->sdp->o_session_id = 42;
  EXPECT_EQ(cpsip_msg_copy_sdp(*src_, *dst_), 0);
  ASSERT_NE(dst_->sdp, nullptr);
  EXPECT_EQ(dst_->sdp->o_session_id, 42);
  EXPECT_EQ(dst_->sdp_text.view(), "");
}

}  // namespace
}  // namespace hark::test
