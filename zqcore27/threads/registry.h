#pragma once

#include <cstdint>
#include <vector>

#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

/// What the registry keeps of one thread. Threads: as the registry, which guards it.
struct ZQCORE27_EXPORT ThreadIDFlag {
  std::uint32_t fId = 0;     // the platform's thread id
  std::uint32_t fDepth = 0;  // registrations that are open
  std::uint16_t fPavo = 0;   // the host's value
  void* fContext = nullptr;  // the host's pointer, not owned
};

/// The table of threads known to the library, one a process, in gCore. Threads go by the platform's numeric id, which
/// the platform reuses after a thread's end: an entry outlives its thread, and the next thread of its id goes on with
/// it. An `id` of 0 is the calling thread. An id without an entry makes setters and counters do nothing, and getters
/// give 0 or null. A depth has no floor: below 0 it wraps to 0xFFFFFFFF. Errors: std::bad_alloc from what adds an
/// entry, the registry as before. Threads: any; its lock stands last in every order.
class ZQCORE27_EXPORT ThreadRegistry {
 public:
  ThreadRegistry();
  ThreadRegistry(const ThreadRegistry&) = delete;
  ThreadRegistry& operator=(const ThreadRegistry&) = delete;
  ~ThreadRegistry();

  // Each of the three registers the calling thread and returns its id.

  /// A new entry has depth 1; in a known one the depth rises by 1.
  std::uint32_t registerThread();
  /// A new entry has depth 1; in a known one the depth becomes 1, whatever it was.
  std::uint32_t registerLIRAThread();
  /// As registerThread, but the first caller becomes the main thread, with a new entry even if it has one already.
  std::uint32_t registerPAVOThread();

  /// One registration less. The entry stays, with its value and pointer, also at depth 0.
  void unregisterThread(std::uint32_t id);
  /// Removes the entry, the older one where the main thread has two. If `id` is the main thread's, there is no main
  /// thread until the next registerPAVOThread, whichever entry went.
  void unregisterLIRAThread(std::uint32_t id);
  void increaseDepth(std::uint32_t id);
  void decreaseDepth(std::uint32_t id);
  std::uint32_t depth(std::uint32_t id);
  void setThisThreadPavo(std::uint16_t value, std::uint32_t id);
  std::uint16_t getThisThreadPavo(std::uint32_t id);
  void setThisThreadContext(void* context, std::uint32_t id);
  void* getThisThreadContext(std::uint32_t id);
  bool isMainThread(std::uint32_t id);
  /// The calling thread's id, never 0, registered or not. Takes no lock.
  std::uint32_t getThisId();

 private:
  std::uint32_t this_thread_id() const;
  std::uint32_t id_or_own(std::uint32_t id) const { return id != 0 ? id : this_thread_id(); }
  ThreadIDFlag* look_up(std::uint32_t id) ZQCORE27_REQUIRES(fMutex);
  ThreadIDFlag* append(std::uint32_t id) ZQCORE27_REQUIRES(fMutex);
  ThreadIDFlag* get_id_flag_from_list(std::uint32_t id) ZQCORE27_REQUIRES(fMutex);
  void remove_id_flag_from_list(std::uint32_t id) ZQCORE27_REQUIRES(fMutex);
  void clear_thread_list();

  OrlanMutex fMutex;
  ThreadIDFlag* fMain ZQCORE27_GUARDED_BY(fMutex) = nullptr;     // the main thread's entry, an element of fList
  std::vector<ThreadIDFlag*> fList ZQCORE27_GUARDED_BY(fMutex);  // owned, in order of first registration
};

}  // namespace zqcore27
