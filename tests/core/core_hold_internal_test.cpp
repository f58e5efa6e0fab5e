// Holds and uses of the core, which the library doesn't export.

#include "zqcore27/core/core_hold.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/threads/host_thread.h"
#include "zqcore27/core/core.h"

namespace {

struct OpenCore : OrlanCore {
  using RefCount::fCount;
  using RefCount::fMutex;
};

TEST(CoreHoldTest, KeepsTheCoreFromGoingAndNobodyUsesOneThatGoes) {
  OrlanCore* const before = gCore;
  auto* const core = new OpenCore;
  core->use();
  gCore = core;
  std::optional<HostThread> thread;

  core->fMutex.lock();
  bool used = false;
  thread.emplace([&] { used = CoreUse().core() != nullptr; });
  EXPECT_TRUE(thread->isHeldUp());  // it has found the core, and is about to count itself
  --core->fCount;                   // as though the last holder came first
  core->fMutex.unlock();
  thread->join();
  ASSERT_FALSE(used);
  EXPECT_EQ(CoreHold().core(), nullptr);
  ++core->fCount;
  {
    const CoreHold hold, another;
    EXPECT_EQ(hold.core(), core);
    thread.emplace([&] { EXPECT_TRUE(core->unuse()); });
    EXPECT_TRUE(thread->isHeldUp());
  }
  thread->join();
  gCore = before;
  EXPECT_EQ(CoreHold().core(), before);
}

}  // namespace
