#include "zqcore27/core/memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

namespace {

TEST(MemAllocatorTest, TouchesNothingForALengthOfZero) {
  EXPECT_TRUE(MemAllocator::same(nullptr, reinterpret_cast<void*>(8), 0));
  MemAllocator::zero(nullptr, 0);
  MemAllocator::fill(nullptr, 1, 0);
  MemAllocator::copy(nullptr, nullptr, 0);
  MemAllocator::move(nullptr, nullptr, 0);
  MemAllocator::deallocate(nullptr);
  orlanDelete(orlanNew(0));
}

TEST(MemAllocatorTest, WorksOnExactlyTheBytesGiven) {
  std::string text = "abcdefghij";
  MemAllocator::move(&text[1], text.data(), 5);
  EXPECT_EQ(text, "aabcdeghij");
  MemAllocator::copy(&text[6], "XYZ", 2);
  MemAllocator::fill(&text[3], 0xFF, 2);
  MemAllocator::zero(&text[8], 1);
  EXPECT_EQ(text, std::string("aab\xFF\xFF"
                              "eXY\0j",
                              10));
  EXPECT_TRUE(MemAllocator::same(text.data(), "aabx", 3) && !MemAllocator::same(text.data(), "aabx", 4));
}

/// Shows what a derived class does with its block.
class Block : public MemResizable {
 public:
  using MemResizable::MemResizable;
  void pointAt(const char* constant) { fData = reinterpret_cast<unsigned char*>(const_cast<char*>(constant)); }
  /// Requires: it has no block.
  void set(const char* bytes) {
    fSize = static_cast<unsigned>(std::strlen(bytes));
    fData = MemAllocator::allocate(fSize);
    std::memcpy(fData, bytes, fSize);
  }
  std::string bytes() const { return {reinterpret_cast<const char*>(fData), fSize}; }
};

TEST(MemResizableTest, KeepsWhatFitsAndShowsZerosBehindIt) {
  Block block;
  EXPECT_EQ(block.size(), 0u);
  EXPECT_EQ(*block, nullptr);
  block.set("abcdefghi");
  const std::pair<unsigned, std::string> ROWS[] = {{12, std::string("abcdefghi\0\0\0", 12)},
                                                   {3, "abc"},
                                                   {3, "abc"},
                                                   {6, std::string("abc\0\0\0", 6)},  // never what stood there
                                                   {1, "a"},
                                                   {0, ""},
                                                   {0, ""},
                                                   {4, std::string(4, 0)}};
  for (const auto& [size, expected] : ROWS) {
    EXPECT_EQ(&block.resize(size), &block);
    EXPECT_EQ(block.size(), size);
    EXPECT_EQ(block.bytes(), expected);
  }
}

TEST(MemResizableTest, LeavesConstantStorageAlone) {
  static const char CONSTANT[] = "constant";
  {
    Block block;
    for (const unsigned size : {0, 4}) {
      block.pointAt(CONSTANT);
      EXPECT_EQ(block.resize(size).size(), size);
    }
    EXPECT_EQ(block[0], 0);  // not copied either
    block.resize(0);
    block.pointAt(CONSTANT);
    Block copy(block), assigned(8);
    assigned = block;
    EXPECT_EQ(copy.size() + assigned.size(), 0u);
  }
  EXPECT_STREQ(CONSTANT, "constant");
}

TEST(MemResizableTest, CopiesOwnTheirBlocksAndMovesTakeThem) {
  Block a;
  a.set("first");
  Block b(a);
  EXPECT_NE(*a, *b);
  b.resize(0);
  b.set("second");
  EXPECT_EQ(a.bytes(), "first");
  a = b;
  b[0] = 'S';
  a = *&a;
  EXPECT_EQ(a.bytes(), "second");
  Block c(std::move(a));
  EXPECT_EQ(c.bytes() + a.bytes(), "second");
  c = std::move(b);
  c = std::move(*&c);
  EXPECT_EQ(c.bytes(), "Second");
}

}  // namespace
