// The store beside a plain vector of byte strings, over random inputs of the fuzz target, which ends the program at a
// difference. Set ZQCORE27_MODEL_STEPS for a longer run.

#define LLVMFuzzerTestOneInput runOfTheStore
#include "fuzz/store_fuzz.cpp"
#undef LLVMFuzzerTestOneInput

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(StoreModelTest, FollowsAPlainVector) {
  std::mt19937 random(modelSeed());
  std::string input(1200, '\0');  // enough for the 200 steps of one run
  for (int runs = modelSteps(500) / 5; runs > 0; --runs) {
    for (char& byte : input) byte = static_cast<char>(random());
    EXPECT_EQ(runOfTheStore(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()), 0);
  }
}

}  // namespace
