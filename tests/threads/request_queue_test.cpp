#include "zqcore27/threads/request_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

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

void* noJob(FlaggedArg*) { return nullptr; }

void* noteCleanup(void* log) {
  ++*static_cast<int*>(log);
  throw 1;  // nobody hears of it
}

/// A queue beside a model of it, in which positions count from the oldest request.
class ModelledQueue {
 public:
  struct Queued {
    std::uint32_t id;
    ThreadRequester* client;
    FlaggedArg* record;
  };

  explicit ModelledQueue(std::uint16_t capacity) : fQueue(capacity), fCapacity(capacity) {}
  ~ModelledQueue() {
    while (!fModel.empty()) get();
  }

  void put(ThreadRequester* client) {
    auto record = std::make_unique<FlaggedArg>(nullptr);
    if (fModel.size() == fCapacity) {
      expectError(ThreadError::QUEUE_FULL,
                  [&] { fQueue.PutRequestInQueue(noJob, record.get(), client, nullptr, nullptr); });
      return;
    }
    if (++fLastId == 0) fLastId = 1;
    EXPECT_EQ(fQueue.PutRequestInQueue(noJob, record.get(), client, noteCleanup, &fCleanups), fLastId);
    fModel.push_back({fLastId, client, record.release()});
  }
  void get() {
    if (fModel.empty()) return expectError(ThreadError::QUEUE_EMPTY, [&] { fQueue.GetRequest(); });
    const Request request = fQueue.GetRequest();
    EXPECT_EQ(request.fId, fModel.front().id);
    EXPECT_EQ(request.fRequester, fModel.front().client);
    EXPECT_EQ(request.fArg, fModel.front().record);
    EXPECT_EQ(request.fOrder, 0u);
    delete request.fArg;
    fModel.pop_front();
  }
  void remove(std::uint32_t id) {
    const auto same = [&](const Queued& queued) { return queued.id == id; };
    const auto found = id == 0 ? 0 : std::count_if(fModel.begin(), fModel.end(), same);
    if (found > 1) return expectError(ThreadError::AMBIGUOUS_REQUEST, [&] { fQueue.RemoveRequestFromQueue(id); });
    EXPECT_EQ(fQueue.RemoveRequestFromQueue(id), found == 1);
    if (found == 1) fModel.erase(std::find_if(fModel.begin(), fModel.end(), same));
  }
  void removeAll(ThreadRequester* client) {
    for (std::size_t i = 0; i < fModel.size();) {
      if (fModel[i].client != client) {
        ++i;
        continue;
      }
      ++fExpectedCleanups;
      fModel[i] = fModel.back();
      fModel.pop_back();
    }
    fQueue.RemoveRequestsFromQueue(client);
  }
  void setLastId(std::uint32_t id) {
    RequestQueueTestAccess::setLastId(fQueue, id);
    fLastId = id;
  }
  void check(std::initializer_list<ThreadRequester*> clients) const {
    EXPECT_EQ(fQueue.Empty(), fModel.empty());
    EXPECT_EQ(fQueue.Full(), fModel.size() == fCapacity);
    EXPECT_EQ(fCleanups, fExpectedCleanups);
    for (ThreadRequester* client : clients) {
      const auto of = [&](const Queued& queued) { return queued.client == client; };
      EXPECT_EQ(fQueue.numRequests(client), std::count_if(fModel.begin(), fModel.end(), of));
    }
  }
  std::string order() const {
    std::string ids;
    for (const Queued& queued : fModel) ids += (ids.empty() ? "" : " ") + std::to_string(queued.id);
    return ids;
  }

 private:
  template <class Do>
  static void expectError(std::uint32_t code, Do what) {
    try {
      what();
      ADD_FAILURE() << "no error";
    } catch (const ThreadError& e) {
      EXPECT_EQ(e.code(), code);
      EXPECT_FALSE(e.fatal());
    }
  }

  RequestQueue fQueue;
  const std::size_t fCapacity;
  std::deque<Queued> fModel;
  std::uint32_t fLastId = 0;
  int fCleanups = 0, fExpectedCleanups = 0;
};

class RequestQueueTest : public testing::Test {
 protected:
  /// A script: letter puts for that client, '-' gets, '~' and a letter removes that client's, a digit removes that id.
  void play(ModelledQueue& queue, const char* script) {
    for (; *script != 0; ++script) {
      if (*script == '~')
        queue.removeAll(client(*++script));
      else if (*script == '-')
        queue.get();
      else if (*script >= '0' && *script <= '9')
        queue.remove(static_cast<std::uint32_t>(*script - '0'));
      else
        queue.put(client(*script));
      queue.check({&fA, &fB});
    }
  }
  ThreadRequester* client(char name) { return name == 'A' ? &fA : &fB; }

  ThreadPool fPool{0, 1};
  ThreadRequester fA{&fPool}, fB{fA};
};

TEST_F(RequestQueueTest, KeepsOrPermutesTheOrderAsItSays) {
  static constexpr struct {
    int line;
    std::uint16_t capacity;
    const char* script;
    const char* order;
  } ROWS[] = {
      {__LINE__, 9, "ABAB~A", "4 2"},  // the newest fills each hole
      {__LINE__, 4, "ABAB~A", "4 2"},  // in a full ring, too
      {__LINE__, 4, "ABAA~A", "2"},    // what came into the hole is looked at again
      {__LINE__, 4, "AAAA~A", ""},
      {__LINE__, 4, "ABAB2", "1 3 4"},  // by id, the order stays
      {__LINE__, 4, "ABAB1", "2 3 4"},
      {__LINE__, 4, "ABAB4", "1 2 3"},
      {__LINE__, 4, "ABAB90", "1 2 3 4"},  // of an id that never was, and of 0
      {__LINE__, 4, "A--", ""},            // the second get finds nothing
      {__LINE__, 3, "AA--BAB~B", "4"},     // behind the wrap, full
      {__LINE__, 3, "AA--BAB3B", "4 5 6"},
      {__LINE__, 2, "ABB-BA", "2 3"},  // a refused put takes no id
      {__LINE__, 1, "A1B~BA-", ""},
      {__LINE__, 0, "A-1~A", ""},  // no slot: both empty and full
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.script);
    ModelledQueue queue(row.capacity);
    play(queue, row.script);
    EXPECT_EQ(queue.order(), row.order);
  }
}

TEST_F(RequestQueueTest, FollowsTheModelOverManyOperations) {
  const std::uint32_t seed = std::random_device()();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  for (const std::uint16_t capacity : {1, 2, 3, 7, 40}) {
    ModelledQueue queue(capacity);
    for (int step = 0; step < 3000; ++step) {
      const std::uint32_t dice = random() % 100;
      if (dice < 55)
        queue.put(dice % 2 ? &fA : &fB);
      else if (dice < 80)
        queue.get();
      else if (dice < 96)
        queue.remove(static_cast<std::uint32_t>(random() % 8 + step / 2));
      else
        queue.removeAll(dice % 2 ? &fA : &fB);
      queue.check({&fA, &fB});
      if (HasFailure()) return;
    }
  }
}

TEST_F(RequestQueueTest, GivesNoIdTwiceBeforeAllAreUsedAndNeverZero) {
  ModelledQueue queue(4);
  queue.setLastId(0xFFFFFFFE);
  play(queue, "AB");
  EXPECT_EQ(queue.order(), "4294967295 1");
  queue.setLastId(0);
  play(queue, "B1");  // two requests with the id 1 now: refused, unchanged
  EXPECT_EQ(queue.order(), "4294967295 1 1");
}

}  // namespace
