#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/threads/host_thread.h"
#include "zqcore27/files/file.h"

namespace {

/// What is open when a forked child exits. The files are never destroyed, as those of a host that forgets them.
class FileAtExitTest : public testing::Test {
 protected:
  File* open(const std::string& name, File::Mode mode) {
    static std::vector<std::unique_ptr<File>>* const all = new std::vector<std::unique_ptr<File>>;
    all->push_back(std::make_unique<File>());
    const bool opened = all->back()->open(FileLocator(String((dir / name).c_str())), mode | File::MODE_BINARY);
    return opened ? all->back().get() : nullptr;
  }
  TempDir dir;
};

TEST_F(FileAtExitTest, WhatWasAcceptedIsStored) {
  dir.write("update", "0123456789");
  dir.write("closed", "abc");
  const auto child = [&] {
    // What is written to this stream arrives behind all exit steps, when the runtime flushes its streams.
    cookie_io_functions_t functions{};
    functions.write = [](void* late, const char* text, std::size_t n) {
      return static_cast<File*>(late)->write(text, static_cast<unsigned>(n)) ? static_cast<ssize_t>(n) : ssize_t{0};
    };
    File* const update = open("update", File::MODE_UPDATE);
    File* const closed = open("closed", File::MODE_APPEND);
    File* const made = open("made", File::MODE_WRITE);
    char two[2];
    const bool done = update->read(two, 2) && update->write("xy", 2) && closed->write("d", 1) && closed->close() &&
                      made->write("early ", 6);
    std::fputs("late", fopencookie(made, "w", functions));
    std::exit(done ? 0 : 1);
  };
  EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
  EXPECT_EQ(dir.read("update"), "01xy456789");
  EXPECT_EQ(dir.read("closed"), "abcd");
  EXPECT_EQ(dir.read("made"), "early late");
}

// What is accepted while the process ends, behind the library's exit step, has to come whole and in order, too.
TEST_F(FileAtExitTest, AThreadMayGoOnWriting) {
  const auto child = [&] {
    File* const file = open("numbers", File::MODE_WRITE);
    static std::atomic<std::uint32_t> written{0};
    std::thread([file] {
      for (std::uint32_t n = 0; file->write(&n, sizeof n); ++n) written = n + 1, written.notify_one();
    }).detach();
    for (std::uint32_t n = written; n < 10000; n = written) written.wait(n);
    std::exit(0);
  };
  EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
  const std::string bytes = dir.read("numbers");
  ASSERT_GE(bytes.size() / sizeof(std::uint32_t), 10000u);
  for (std::uint32_t n = 0; n < bytes.size() / sizeof n; ++n) {
    ASSERT_EQ(std::memcmp(bytes.data() + n * sizeof n, &n, sizeof n), 0) << n;
  }
}

TEST_F(FileAtExitTest, AForkedChildLeavesItsParentsBytes) {
  File* const file = open("shared", File::MODE_WRITE);
  ASSERT_NE(file, nullptr);
  ASSERT_TRUE(file->write("parent ", 7));
  EXPECT_EXIT(std::exit(0), testing::ExitedWithCode(0), "");
  EXPECT_EQ(dir.read("shared"), "");
  EXPECT_EXIT(std::exit(file->write("child ", 6) ? 0 : 1), testing::ExitedWithCode(0), "");
  EXPECT_EQ(dir.read("shared"), "child ");
  EXPECT_TRUE(file->close());
  EXPECT_EQ(dir.read("shared"), "child parent ");
}

TEST_F(FileAtExitTest, AForkedChildThatFillsTheBufferStoresItsParentsBytesToo) {
  const std::string inherited(10000, 'p'), first(7000, 'c'), last(3000, 'd');
  File* const file = open("shared", File::MODE_WRITE);
  const auto write = [file](const std::string& s) { return file->write(s.data(), static_cast<unsigned>(s.size())); };
  ASSERT_TRUE(write(inherited));
  EXPECT_EXIT(std::exit(write(first) && write(last) ? 0 : 1), testing::ExitedWithCode(0), "");
  EXPECT_EQ(dir.read("shared"), inherited + first + last);
}

TEST_F(FileAtExitTest, AForkedChildDoesntWaitForAThreadOfItsParent) {
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  File* const file = open("pipe", File::MODE_UPDATE);
  const std::string bytes(1 << 20, 'p');  // more than a pipe takes
  HostThread writer([&] { EXPECT_TRUE(file->write(bytes.data(), 1 << 20)); });
  writer.waitUntilAsleep();
  EXPECT_EXIT((alarm(20), std::exit(0)), testing::ExitedWithCode(0), "");
  std::string taken(bytes.size(), '-');
  std::ifstream(path).read(taken.data(), 1 << 20);
  EXPECT_TRUE(taken == bytes);
}

}  // namespace
