// exit_host fork | statics | running | held | repeat: hosts that fork, that use the library after main, and that end
// while their threads run, with or without a hold of their own on the core. `repeat` runs the last two again and again.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <future>
#include <thread>

#include "tests/long/use_library.h"
#include "zqcore27/core/core.h"
#include "zqcore27/threads/thread.h"

namespace {

std::string gDirectory;

int waitFor(pid_t child) {
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// A child uses the library, and its parent goes on. Idle workers and an entry of the registry are there meanwhile.
int forkAndUse() {
  ThreadPool pool(3, 3);
  ThreadRequester requester(&pool);
  useAll(gDirectory);
  gCore->fThreads->registerThread();
  for (std::uint32_t i = 0; i < rounds(5, 500); ++i) {
    require(requester.submit([] { return 1; }).get() == 1, "a result");
    while (requester.numRunningRequests() != 0) std::this_thread::yield();
    const std::uint32_t parent = gCore->fThreads->getThisId();
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);
      require(gCore->fThreads->getThisId() != parent && gCore->fThreads->depth(0) == 0, "a thread of its own");
      gCore->fThreads->registerThread();
      useAll(gDirectory);
      std::_Exit(0);
    }
    require(waitFor(child) == 0, "the child used the library");
  }
  useAll(gDirectory);
  return 0;
}

/// Destroyed behind main.
struct Late {
  ~Late() {
    ThreadRequester requester(&pool);
    require(requester.submit([] { return 7; }).get() == 7, "a result of its pool");
    useAll(gDirectory);
    require(text.toUTF8() == "still there", "its text");
  }
  const String text{"still there"};
  mutable ThreadPool pool{1, 1};
};

/// What a thread that nobody waits for does, again and again: each step looks for the core, which is there or isn't.
void run(std::uint32_t i) {
  ConfigError error(ConfigError::UNCLOSED_STRING, false);
  error.addInsert(String("insert"));
  CStrEnterprise words(nullptr, String(), String("en").begin());
  const std::string text = String(error.description(&words)).toUTF8();
  require(text == "not closed in words" || text == "Error in obtaining description of previous error.", "words");
  FileLocator locator(String("a/b.c"));
  require(locator.location().toUTF8() == "a" && locator.extension().toUTF8() == "c", "separators");
  try {
    lookUp(i % LongRunFiles::WORDS);
  } catch (const Error& e) {
    require(std::strcmp(e.module(), "Constant Strings") == 0 && e.code() == 7, "no catalogue any more");
  }
}

class Runner : public OrlanThread {
 public:
  void* work(void*) override { return nullptr; }
};

[[noreturn]] void endWhileThreadsRun(bool held) {
  static std::atomic<int> running{0};
  if (held) gCore->use();
  auto* const pool = new ThreadPool(3, 3);  // nobody ends it
  static Config* config = new Config(FileLocator(String::fromUTF8(gDirectory + "/long.conf")));
  require(config->nextToken() == Config::KEYWORD_TOKEN, "a file whose reader waits");
  auto* const requester = new ThreadRequester(pool);
  for (int i = 0; i < 3; ++i) {
    std::thread([] {
      ++running;
      for (;;) {  // each registers at its start and its end
        const JTCHandleT<Runner> thread(new Runner);
        thread->start_undetached();
        thread->join(nullptr);
      }
    }).detach();
    auto* const never = new std::future<void>(requester->submit([] {
      ++running;
      for (std::uint32_t n = 0;; ++n) run(n);
    }));
    static_cast<void>(never);
  }
  while (running != 6) std::this_thread::yield();
  std::exit(0);
}

/// As a process of its own: a forked child would leave the core as it is.
void repeat(const char* self) {
  for (std::uint32_t i = 0; i < rounds(10, 1000); ++i) {
    for (const char* mode : {"running", "held"}) {
      char* const arguments[] = {const_cast<char*>(self), const_cast<char*>(mode), gDirectory.data(), nullptr};
      pid_t child = 0;
      require(posix_spawn(&child, self, nullptr, nullptr, arguments, environ) == 0, "a process");
      const int ended = waitFor(child);
      if (ended != 0) std::fprintf(stderr, "round %u, %s: %d\n", i, mode, ended);
      require(ended == 0, "it ends as it should");
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (argc > 2) {  // a process of `repeat`
    alarm(60);
    gDirectory = argv[2];
    endWhileThreadsRun(mode == "held");
  }
  static const LongRunFiles files;
  gDirectory = files.directory();
  if (mode == "fork") return forkAndUse();
  if (mode == "repeat") return repeat(argv[0]), 0;
  if (mode != "statics") return 2;
  static const Late late;
  return 0;
}
