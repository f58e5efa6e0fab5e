#include "zqcore27/threads/request_queue.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/thread_error.h"
#include "zqcore27/threads/thread_requester.h"

inline namespace zqcore27 {

struct RequestQueueTestAccess {
  static void setLastId(RequestQueue& queue, std::uint32_t id) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
    queue.fNextId = id;
  }
};

}  // namespace zqcore27

namespace {

/// Plays a script on a queue and notes what it tells. A and B put a request of that client; ~ and a letter remove the
/// client's; a digit removes that id; what stands in brackets is played by the next cleanup; - gets; ^ lets the next id
/// be 0xFFFFFFFF, and _ the next be 1.
class Player {
 public:
  explicit Player(std::uint16_t capacity) : fQueue(capacity) {}

  std::string play(const char* script) {
    for (; *script != 0; ++script) {
      try {
        step(script);
      } catch (const ThreadError& e) {
        EXPECT_FALSE(e.fatal());
        note(e.code() == 0xC200012F   ? "full"
             : e.code() == 0xC2000130 ? "twice"
             : e.code() == 0xC2000131 ? "none"
                                      : "?");
      }
    }
    note("|");
    while (!fQueue.Empty()) {
      get();
      EXPECT_FALSE(fQueue.Full());
    }
    EXPECT_EQ(fQueue.numRequests(&fA) + fQueue.numRequests(&fB), 0);
    return fNotes;
  }

 private:
  static void* noJob(FlaggedArg*) { return nullptr; }
  static void* clean(void* player) {
    auto& self = *static_cast<Player*>(player);
    self.note("c");
    const std::string nested = std::exchange(self.fNested, "");
    for (const char* at = nested.c_str(); *at != 0; ++at) self.step(at);
    throw 1;  // nobody hears of it
  }
  void note(const std::string& what) { fNotes += (fNotes.empty() ? "" : " ") + what; }

  void step(const char*& script) {
    switch (*script) {
      case 'A':
      case 'B':
        return put(*script == 'A' ? &fA : &fB);
      case '~':
        return fQueue.RemoveRequestsFromQueue(*++script == 'A' ? &fA : &fB);
      case '[':
        while (*++script != ']') fNested += *script;
        return;
      case '-':
        return get();
      case '^':
      case '_':
        return RequestQueueTestAccess::setLastId(fQueue, *script == '^' ? 0xFFFFFFFE : 0);
      default:
        if (!fQueue.RemoveRequestFromQueue(static_cast<std::uint32_t>(*script - '0'))) note("absent");
    }
  }
  void put(ThreadRequester* client) {
    auto record = std::make_unique<FlaggedArg>(nullptr);
    EXPECT_NE(fQueue.PutRequestInQueue(noJob, record.get(), client, clean, this), 0u);
    record.release();
  }
  void get() {
    const Request request = fQueue.GetRequest();
    EXPECT_EQ(request.fOrder, 0u);
    delete request.fArg;
    note((request.fRequester == &fA ? "A" : "B") + std::to_string(request.fId));
  }

  ThreadPool fPool{0, 1};
  ThreadRequester fA{&fPool}, fB{fA};
  RequestQueue fQueue;
  std::string fNotes, fNested;
};

TEST(RequestQueueTest, KeepsOrPermutesTheOrderAsItSays) {
  static constexpr struct {
    std::uint16_t capacity;
    const char *script, *notes;  // behind the bar, what is left
  } ROWS[] = {
      {9, "ABAB~A", "c c | B4 B2"},    // the newest fills each hole
      {4, "ABAB~A", "c c | B4 B2"},    // in a full ring, too
      {4, "ABAA~A", "c c c | B2"},     // what came into the hole is looked at again
      {4, "BAAA[~B]~A", "c c c c |"},  // the cleanup of the first moves the last behind the walk
      {4, "BAAA[1]~A", "c c c |"},     //
      {4, "ABAA[~A1]~A", "c c c absent | B2"},
      {4, "ABAB2", "| A1 A3 B4"},  // by id, the order stays and no cleanup runs
      {4, "ABAB4", "| A1 B2 A3"},  //
      {4, "AB90-1", "absent absent A1 absent | B2"},
      {3, "AA--BAB~B", "A1 A2 c c | A4"},  // behind the wrap, full
      {3, "AA--BAB3B", "A1 A2 | A4 B5 B6"},
      {2, "ABB-BA", "full A1 full | B2 B3"},  // a refused put takes no id
      {1, "A1B~BA-", "c A3 |"},
      {0, "A-1~A", "full none absent |"},  // no slot: both empty and full
      {3, "^AB", "| A4294967295 B1"},      // 0 is no id
      {3, "A_B1", "twice | A1 B1"},
  };
  for (const auto& [capacity, script, notes] : ROWS) EXPECT_EQ(Player(capacity).play(script), notes) << script;
}

}  // namespace
