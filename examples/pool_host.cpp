// Two clients of a thread pool count the words of the same files, one job a file: pool_host FILE... The second client
// is cancelled half way. The program fails if the first one's counts aren't those of a count without the pool.

#include <algorithm>
#include <array>
#include <cctype>
#include <iostream>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#include "zqcore27/zqcore27.h"

static constexpr std::uint16_t WORKERS = 2;
static constexpr std::size_t MAX_FILES = 30000;  // a queue has at most 65535 slots

struct Unreadable {};

/// False if it stopped because `stop` said so, which is asked before each block. Throws Unreadable.
template <class Stop>
static bool countWords(const String& path, std::uint64_t& words, Stop stop) {
  File file;
  if (!file.open(FileLocator(path), File::MODE_READ | File::MODE_BINARY)) throw Unreadable();
  const unsigned int size = file.size();
  if (file.getError() != File::FILE_ERR_NONE) throw Unreadable();
  std::array<unsigned char, 4096> block;
  bool inWord = false;
  for (unsigned int done = 0, n = 0;; done += n) {
    if (stop()) return false;
    if (done == size) return true;
    n = std::min<unsigned int>(size - done, block.size());
    if (!file.read(block.data(), n)) throw Unreadable();
    for (unsigned int i = 0; i < n; ++i) {
      const bool blank = std::isspace(block[i]) != 0;
      if (!blank && !inWord) ++words;
      inWord = !blank;
    }
  }
}

/// The line that tells how far the first client is.
class Progress {
 public:
  explicit Progress(std::size_t files) : fFiles(files), fAllDone(static_cast<std::ptrdiff_t>(files)) {}

  void fileDone() {
    {
      const OrlanSynchronized hold(fMutex);
      std::cerr << "\rfile " << ++fDone << " of " << fFiles << std::flush;
      if (fDone == fFiles) std::cerr << "\n";
    }
    fAllDone.count_down();
  }
  void waitForAll() { fAllDone.wait(); }

 private:
  OrlanMutex fMutex;
  const std::size_t fFiles;
  std::size_t fDone = 0;
  std::latch fAllDone;
};

/// One file of one client. Its job or its cleanup writes it; main reads it when the pool has ended.
struct Task {
  enum State { QUEUED, RUNNING, COUNTED, STOPPED, DROPPED, UNREADABLE };

  void end(State how) {
    state = how;
    if (progress != nullptr) progress->fileDone();
  }

  String file;
  State state = QUEUED;
  std::uint64_t words = 0;
  Progress* progress = nullptr;
  std::latch* waitsForCancel = nullptr;
};

/// The job: on a thread of the pool, with no lock held.
static void* countTask(FlaggedArg* record) {
  const std::unique_ptr<FlaggedArg> own(record);  // from the call on, it is the job's
  Task& task = *static_cast<Task*>(record->arg);
  task.state = Task::RUNNING;
  if (task.waitsForCancel != nullptr) {  // only so that this program shows the same each time it runs
    task.waitsForCancel->count_down();
    while (!record->flag->value()) std::this_thread::yield();
  }
  // The flag is all that a running job sees of a cancel: one that never asks runs to its end.
  const bool counted = countWords(task.file, task.words, [&] { return record->flag->value(); });
  task.end(counted ? Task::COUNTED : Task::STOPPED);
  return nullptr;
}

/// The cleanup: in place of the rest of a job that threw, whose client hears nothing else of it, or of a job that was
/// cancelled in the queue. In the latter case the pool's locks are held: no request may be made here.
static void* cleanUpTask(void* arg) {
  Task& task = *static_cast<Task*>(arg);
  task.end(task.state == Task::RUNNING ? Task::UNREADABLE : Task::DROPPED);
  return nullptr;
}

static void request(ThreadRequester& client, Task& task) {
  auto record = std::make_unique<FlaggedArg>(&task);
  // A refused record stays its client's: 0 comes from a pool that is closing.
  if (client.request(countTask, record.get(), cleanUpTask, &task) != 0) record.release();
}

static std::uint64_t totalSize(const std::vector<Task>& tasks) {
  std::uint64_t bytes = 0;
  for (const Task& task : tasks) {
    File file;
    if (file.open(FileLocator(task.file), File::MODE_READ)) bytes += file.size();
  }
  return bytes;
}

/// Counts everything of `first` and half of `second`. Returns the size of all files.
static std::uint64_t count(std::vector<Task>& first, std::vector<Task>& second) {
  Progress progress(first.size());
  const std::size_t middle = second.size() / 2;
  std::latch inTheMiddle(static_cast<std::ptrdiff_t>(std::min<std::size_t>(WORKERS, second.size() - middle)));
  for (Task& task : first) task.progress = &progress;
  for (std::size_t i = middle; i < second.size(); ++i) second[i].waitsForCancel = &inTheMiddle;

  // Room for all: no request waits, and the pool doesn't grow. It ends behind its clients, and runs what is queued.
  ThreadPool pool(WORKERS, static_cast<std::uint16_t>(2 * first.size() + 1));
  ThreadRequester firstClient(&pool), secondClient(&pool);
  // Where no flag and no cleanup is needed: any callable, with its result or exception in a future.
  std::future<std::uint64_t> bytes = firstClient.submit([&first] { return totalSize(first); });
  for (std::size_t i = 0; i < first.size(); ++i) {
    request(firstClient, first[i]);
    request(secondClient, second[i]);
  }
  inTheMiddle.wait();
  secondClient.clearRequests();  // drops what is queued, and raises the flags of what runs, without waiting for it
  progress.waitForAll();         // a client that goes away cancels what it has left
  return bytes.get();
}

/// The same without the pool.
static bool isWhole(const Task& task) {
  std::uint64_t words = 0;
  try {
    countWords(task.file, words, [] { return false; });
    return task.state == Task::COUNTED && task.words == words;
  } catch (const Unreadable&) {
    return task.state == Task::UNREADABLE;
  }
}

static bool report(const std::vector<Task>& first, const std::vector<Task>& second, std::uint64_t bytes) {
  std::uint64_t words = 0;
  bool good = true;
  for (const Task& task : first) {
    if (task.state == Task::UNREADABLE) {
      std::cerr << task.file
                << ": can't be read. Check that it is there, that it is a file of less than 4 GiB and not a "
                << "directory, and that this user may read it.\n";
      good = false;
    } else if (!isWhole(task)) {
      std::cerr << task.file << ": " << task.words << " words, which a count without the pool doesn't confirm.\n";
      good = false;
    } else {
      std::cout << task.words << "\t" << task.file << "\n";
    }
    words += task.words;
  }
  std::cout << words << "\tin " << bytes << " bytes" << (good ? ", as counted without the pool" : "") << "\n";
  const auto number = [&](Task::State s) {
    return std::count_if(second.begin(), second.end(), [s](const Task& task) { return task.state == s; });
  };
  std::cout << "the second client: " << number(Task::COUNTED) << " counted, " << number(Task::UNREADABLE)
            << " unreadable; when it was cancelled, " << number(Task::STOPPED) << " stopped, " << number(Task::DROPPED)
            << " dropped from the queue\n";
  return good && number(Task::QUEUED) == 0 && number(Task::RUNNING) == 0;
}

int main(int argc, char** argv) {
  gCore->fStringDirectory = ZQCORE27_CATALOGUE_DIR;  // where the words of errors are
  CStrEnterprise words(nullptr, String(), nullptr);  // in the user's language
  std::vector<Task> first(static_cast<std::size_t>(std::max(argc, 1) - 1));
  if (first.empty() || first.size() > MAX_FILES) {
    std::cerr << "Name 1 to " << MAX_FILES << " files: pool_host FILE...\n";
    return 2;
  }
  try {
    for (std::size_t i = 0; i < first.size(); ++i) first[i].file = String(argv[i + 1]);
    std::vector<Task> second = first;
    const std::uint64_t bytes = count(first, second);
    return report(first, second, bytes) ? 0 : 1;
  } catch (const Error& e) {
    std::cerr << String(e.description(&words)) << "\n";
    return 1;
  }
}
