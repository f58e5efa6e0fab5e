// The platform layer isn't exported.

#include "zqcore27/platform/code_page.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(CodePageTest, CharactersThatAPageHoldsTwiceOrNotAtAll) {
  const CodePage& japanese = *CodePage::find(932);
  static constexpr std::uint32_t ROWS[][3] = {
      {0x8790, 0x2252, 0x81E0}, {0xFA54, 0xFFE2, 0x81CA}, {0xED40, 0x7E8A, 0xFA5C}};
  for (const auto& [character, unit, back] : ROWS) {
    EXPECT_TRUE(japanese.isLeadByte(static_cast<unsigned char>(character >> 8)));
    EXPECT_EQ(japanese.toUnit(static_cast<unsigned char>(character >> 8), static_cast<unsigned char>(character)), unit);
    EXPECT_EQ(japanese.toBytes(static_cast<std::uint16_t>(unit)), back);
  }
  EXPECT_EQ(japanese.toUnit(0x82, 0x00), 0);
  EXPECT_EQ(CodePage::find(1361)->toBytes(0x20A9), 0u);
  for (const std::uint32_t number : {0u, 12345u, 28602u, CODE_PAGE_UTF8}) EXPECT_EQ(CodePage::find(number), nullptr);
}

TEST(CodePageTest, FirstUseOnManyThreads) {
  std::vector<const CodePage*> found(8);
  std::vector<std::jthread> threads;
  for (const CodePage*& page : found) threads.emplace_back([&page] { page = CodePage::find(28599); });
  threads.clear();
  ASSERT_NE(found[0], nullptr);
  EXPECT_EQ(found, std::vector<const CodePage*>(8, found[0]));
}
