// Catalogue files changed at random: the library, the tools' reader and a reading by the letter, as the fuzz target has
// them, which ends the program at a difference.

#define LLVMFuzzerTestOneInput runOfACatalogue
#include "fuzz/catalogue_fuzz.cpp"
#undef LLVMFuzzerTestOneInput

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(CatalogueModelTest, AllReadersAgreeOnDamagedFiles) {
  std::mt19937 random(27);
  for (int run = 0; run < 1000; ++run) {
    std::string input(1 + random() % 60, '\0');
    for (char& byte : input) byte = static_cast<char>(random());
    EXPECT_EQ(runOfACatalogue(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()), 0);
  }
  gCore->fStringDirectory = nullptr;
}

}  // namespace
