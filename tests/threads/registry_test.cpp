#include "zqcore27/threads/registry.h"

#include <gtest/gtest.h>

#include "tests/threads/host_thread.h"

namespace {

TEST(ThreadRegistryTest, CountsRegistrationsAndKeepsWhatTheHostAttached) {
  ThreadRegistry registry;
  const std::uint32_t id = registry.getThisId();
  ASSERT_NE(id, 0u);
  EXPECT_EQ(registry.depth(0), 0u);
  EXPECT_EQ(registry.registerThread(), id);
  EXPECT_EQ(registry.registerThread(), id);
  registry.setThisThreadContext(&registry, 0);
  registry.setThisThreadPavo(0xFFFE, id);
  registry.unregisterThread(id);
  EXPECT_EQ(registry.depth(0), 1u);
  registry.unregisterThread(0);
  EXPECT_EQ(registry.depth(id), 0u);
  EXPECT_EQ(registry.getThisThreadContext(id), &registry);
  EXPECT_EQ(registry.getThisThreadPavo(0), 0xFFFE);
  registry.decreaseDepth(id);
  EXPECT_EQ(registry.depth(id), 0xFFFFFFFFu);
  registry.increaseDepth(0);
  registry.increaseDepth(0);
  registry.registerThread();  // goes on with the entry
  EXPECT_EQ(registry.depth(id), 2u);
  EXPECT_EQ(registry.getThisThreadPavo(id), 0xFFFE);
}

TEST(ThreadRegistryTest, LiraRegistrationSetsTheDepthAndItsEndForgetsTheThread) {
  ThreadRegistry registry;
  for (int i = 0; i < 3; ++i) registry.registerThread();
  registry.setThisThreadPavo(7, 0);
  EXPECT_EQ(registry.registerLIRAThread(), registry.getThisId());
  EXPECT_EQ(registry.depth(0), 1u);
  EXPECT_EQ(registry.getThisThreadPavo(0), 7);
  registry.unregisterLIRAThread(0);
  EXPECT_EQ(registry.depth(0), 0u);
  EXPECT_EQ(registry.getThisThreadPavo(0), 0);
  registry.unregisterLIRAThread(0);
  registry.registerLIRAThread();
  EXPECT_EQ(registry.depth(0), 1u);
}

TEST(ThreadRegistryTest, IgnoresThreadsThatItDoesNotKnow) {
  ThreadRegistry registry;
  const std::uint32_t id = 0xFFFFFFF0;
  registry.setThisThreadPavo(1, id);
  registry.setThisThreadContext(&registry, id);
  registry.increaseDepth(id);
  registry.unregisterThread(id);
  registry.unregisterLIRAThread(id);
  EXPECT_EQ(registry.getThisThreadPavo(id), 0);
  EXPECT_EQ(registry.getThisThreadContext(id), nullptr);
  EXPECT_EQ(registry.depth(id), 0u);
  EXPECT_FALSE(registry.isMainThread(id));
}

TEST(ThreadRegistryTest, FirstPavoCallerIsTheMainThread) {
  ThreadRegistry registry;
  EXPECT_FALSE(registry.isMainThread(0));
  std::uint32_t main = 0, second = 0;
  HostThread([&] {
    main = registry.registerPAVOThread();
    EXPECT_TRUE(registry.isMainThread(0));
  }).join();
  HostThread([&] {
    second = registry.registerPAVOThread();
    EXPECT_FALSE(registry.isMainThread(0));
    EXPECT_TRUE(registry.isMainThread(main));
    registry.registerPAVOThread();
    EXPECT_EQ(registry.depth(0), 2u);
  }).join();
  EXPECT_EQ(registry.depth(main), 1u);
  EXPECT_FALSE(registry.isMainThread(second));
}

TEST(ThreadRegistryTest, KnownThreadGetsASecondEntryAsMainThread) {
  ThreadRegistry registry;
  registry.registerThread();
  registry.registerThread();
  registry.setThisThreadPavo(5, 0);
  registry.registerPAVOThread();
  EXPECT_EQ(registry.depth(0), 1u);  // the new entry, which is looked at first
  EXPECT_EQ(registry.getThisThreadPavo(0), 0);
  registry.registerPAVOThread();
  EXPECT_EQ(registry.depth(0), 2u);
  registry.registerLIRAThread();  // the list alone: the older entry
  EXPECT_EQ(registry.depth(0), 2u);
  registry.unregisterLIRAThread(0);  // the older entry again; the other one is no longer the main thread's
  EXPECT_FALSE(registry.isMainThread(0));
  EXPECT_EQ(registry.depth(0), 2u);
  registry.registerLIRAThread();
  EXPECT_EQ(registry.depth(0), 1u);
}

TEST(ThreadRegistryTest, NewcomerDoesNotLookLikeARemovedMainThread) {
  ThreadRegistry registry;
  registry.registerPAVOThread();
  registry.unregisterLIRAThread(0);
  EXPECT_FALSE(registry.isMainThread(0));
  HostThread([&] {
    registry.registerThread();  // may get the block of the removed entry
    EXPECT_FALSE(registry.isMainThread(0));
    registry.registerPAVOThread();
    EXPECT_TRUE(registry.isMainThread(0));
  }).join();
  EXPECT_FALSE(registry.isMainThread(0));
}

}  // namespace
