// The platform layer isn't exported.

#include "zqcore27/platform/code_page.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t PAGES[] = {437,   850,   874,   932,   936,   949,   950,   1250,  1251,  1252,  1253,  1254,
                                   1255,  1256,  1257,  1258,  1361,  20866, 21866, 28591, 28592, 28593, 28594, 28595,
                                   28596, 28597, 28598, 28599, 28600, 28601, 28603, 28604, 28605, 28606};

/// The unit of a character of one or two bytes, or 0.
std::uint16_t unitOf(const CodePage& page, std::uint32_t character) {
  const auto last = static_cast<unsigned char>(character);
  if (character < 0x100) return page.isLeadByte(last) ? 0 : page.toUnit(last);
  const auto lead = static_cast<unsigned char>(character >> 8);
  return page.isLeadByte(lead) ? page.toUnit(lead, last) : 0;
}

}  // namespace

TEST(CodePageTest, CharactersAndTheirBytes) {
  static constexpr struct {
    std::uint32_t page, character;
    std::uint16_t unit;
    std::uint32_t back;
  } ROWS[] = {{437, 0x80, 0xC7, 0x80},       {850, 0xD5, 0x131, 0xD5},       {874, 0xA1, 0xE01, 0xA1},
              {932, 0xB1, 0xFF71, 0xB1},     {932, 0x82A0, 0x3042, 0x82A0},  {936, 0xC4E3, 0x4F60, 0xC4E3},
              {949, 0xB0A1, 0xAC00, 0xB0A1}, {950, 0xA440, 0x4E00, 0xA440},  {1250, 0xB9, 0x105, 0xB9},
              {1251, 0xC0, 0x410, 0xC0},     {1252, 0x80, 0x20AC, 0x80},     {1253, 0xE1, 0x3B1, 0xE1},
              {1254, 0xFD, 0x131, 0xFD},     {1255, 0xE0, 0x5D0, 0xE0},      {1255, 0xF9, 0x5E9, 0xF9},
              {1256, 0xC7, 0x627, 0xC7},     {1257, 0xE0, 0x105, 0xE0},      {1258, 0xE2, 0xE2, 0xE2},
              {1258, 0xCC, 0x300, 0xCC},     {1361, 0x8861, 0xAC00, 0x8861}, {20866, 0xC1, 0x430, 0xC1},
              {21866, 0xA4, 0x454, 0xA4},    {28591, 0xA4, 0xA4, 0xA4},      {28595, 0xB0, 0x410, 0xB0},
              {28601, 0xA1, 0xE01, 0xA1},    {28605, 0xA4, 0x20AC, 0xA4},    {932, 0x8790, 0x2252, 0x81E0},
              {932, 0xFA54, 0xFFE2, 0x81CA}, {932, 0xED40, 0x7E8A, 0xFA5C}};  // held twice
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << row.page << std::hex << " 0x" << row.character);
    const CodePage* page = CodePage::find(row.page);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->number(), row.page);
    EXPECT_EQ(unitOf(*page, row.character), row.unit);
    EXPECT_EQ(page->toBytes(row.unit), row.back);
  }
}

TEST(CodePageTest, WhatAPageLacksOrRefuses) {
  EXPECT_EQ(CodePage::find(1252)->toUnit(0x81), 0);
  EXPECT_EQ(CodePage::find(1252)->toBytes(0x3042), 0u);
  EXPECT_EQ(CodePage::find(932)->toBytes(0x00A5), 0u);  // its byte would be a backslash
  EXPECT_EQ(CodePage::find(1361)->toBytes(0x20A9), 0u);
  EXPECT_EQ(CodePage::find(932)->toUnit(0x82, 0x00), 0);
  for (const std::uint32_t number : {0u, 12345u, 28602u, CODE_PAGE_UTF8}) EXPECT_EQ(CodePage::find(number), nullptr);
}

// Whatever a page reads it can write, and reads again as the same.
TEST(CodePageTest, EveryCharacterComesBack) {
  for (const std::uint32_t number : PAGES) {
    SCOPED_TRACE(number);
    EXPECT_TRUE(CodePage::isKnown(number));
    const CodePage* page = CodePage::find(number);
    ASSERT_NE(page, nullptr);
    int characters = 0;
    for (std::uint32_t character = 0x80; character <= 0xFFFF; ++character) {
      if (character == 0x100) character = 0x8000;
      const std::uint16_t unit = unitOf(*page, character);
      if (unit < 0x80) continue;
      ++characters;
      ASSERT_EQ(unitOf(*page, page->toBytes(unit)), unit) << std::hex << character;
    }
    EXPECT_GE(characters, 60);
  }
}

TEST(CodePageTest, FirstUseOnManyThreads) {
  std::vector<const CodePage*> found(8);
  std::vector<std::jthread> threads;
  for (const CodePage*& page : found) threads.emplace_back([&page] { page = CodePage::find(28599); });
  threads.clear();
  ASSERT_NE(found[0], nullptr);
  EXPECT_EQ(found, std::vector<const CodePage*>(8, found[0]));
}
