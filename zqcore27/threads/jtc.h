#pragma once

// The thin thread layer: threads, monitors and counted handles, as the classes above it take them for granted.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/critical_section.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"

inline namespace zqcore27 {
namespace Thr1001203 {

/// A wait was broken off. The callers of waits expect it; nothing in this layer interrupts one so far.
class ZQCORE27_EXPORT JTCInterruptedException : public std::exception {
 public:
  JTCInterruptedException();
  JTCInterruptedException(const JTCInterruptedException&);
  JTCInterruptedException& operator=(const JTCInterruptedException&);
  ~JTCInterruptedException() override;
  const char* what() const noexcept override;
};

/// A call to the operating system failed, or would have: its error number and its words for it.
class ZQCORE27_EXPORT JTCSystemCallException : public std::exception {
 public:
  explicit JTCSystemCallException(int error);
  JTCSystemCallException(const JTCSystemCallException&);
  JTCSystemCallException& operator=(const JTCSystemCallException&);
  ~JTCSystemCallException() override;
  /// The system error number (errno).
  int getError() const { return fError; }
  /// The system's message, in the platform's 8-bit encoding. It belongs to the exception.
  const char* getMessage() const { return fMessage; }
  const char* what() const noexcept override;

 private:
  int fError;
  char fMessage[128];
};

/// Base of what JTCHandleT counts: the number of handles, 0 in a new object. The object is destroyed when its last
/// handle goes. One that never had a handle, a local object among them, belongs to its maker. The first handle is the
/// creator's: a thread whose object may go on to have handles makes none of its own object before that.
/// Threads: the count from any; the object itself as the subclass says.
class ZQCORE27_EXPORT JTCRefCount : public FromLibraryHeap {
 public:
  JTCRefCount(const JTCRefCount&) = delete;
  JTCRefCount& operator=(const JTCRefCount&) = delete;
  virtual ~JTCRefCount();

  /// What JTCHandleT calls: one handle more.
  void add_handle();
  /// One handle less; destroys the object with the last one, unless it is pinned.
  void drop_handle();

 protected:
  JTCRefCount();
  /// Until unpin(), which then destroys it, the object outlives its last handle.
  void pin();
  void unpin();

 private:
  CriticalSection fLock;  // guards the rest; free while the object is destroyed
  std::uint32_t fHandles = 0;
  bool fWasHeld = false;  // had a handle at some time
  bool fPinned = false;
};

/// A counted handle: making or copying one adds 1 to the count of its object, giving one up takes 1 off, and at 0 the
/// object is destroyed. A null handle does nothing. Threads: one handle, one thread at a time; the handles of one
/// object may be on any threads.
template <class T>
class JTCHandleT {
 public:
  JTCHandleT() = default;
  JTCHandleT(std::nullptr_t) {}
  JTCHandleT(T* object) : fObject(object) {
    if (fObject != nullptr) fObject->add_handle();
  }
  JTCHandleT(const JTCHandleT& other) : JTCHandleT(other.fObject) {}
  JTCHandleT(JTCHandleT&& other) noexcept : fObject(std::exchange(other.fObject, nullptr)) {}
  template <class U>
  JTCHandleT(const JTCHandleT<U>& other) : JTCHandleT(other.get()) {}
  JTCHandleT& operator=(JTCHandleT other) noexcept {
    std::swap(fObject, other.fObject);
    return *this;
  }
  ~JTCHandleT() {
    if (fObject != nullptr) fObject->drop_handle();
  }

  T* get() const { return fObject; }
  T* operator->() const { return fObject; }
  T& operator*() const { return *fObject; }
  explicit operator bool() const { return fObject != nullptr; }
  friend bool operator==(const JTCHandleT& a, const JTCHandleT& b) { return a.fObject == b.fObject; }

 private:
  T* fObject = nullptr;
};

/// A set of threads that are started for one purpose. Threads: any.
class ZQCORE27_EXPORT JTCThreadGroup : public virtual JTCRefCount {
 public:
  JTCThreadGroup();
  ~JTCThreadGroup() override;
  /// How many of its threads have been started and haven't ended. May be out of date when it arrives.
  std::uint32_t activeCount() const { return fActive.load(std::memory_order_acquire); }

 private:
  friend class JTCThread;

  std::atomic<std::uint32_t> fActive{0};
};

/// Makes the layer ready. The first one made serves the whole process and stays for its life; further ones do nothing.
class ZQCORE27_EXPORT JTCInitialize {
 public:
  JTCInitialize();
  JTCInitialize(const JTCInitialize&) = delete;
  JTCInitialize& operator=(const JTCInitialize&) = delete;
  /// The group of all the library's threads; null before the first JTCInitialize. Threads: any.
  static JTCHandleT<JTCThreadGroup> getTermGroup();
};

/// A thread: a subclass overrides `run`. One object is one run of one thread.
///             start     end of run   join              setPriority   destruction
///   new       running   -            returns at once   no effect     allowed
///   running   refused   ended        waits             sets it       by the last handle, put off to the end
///   ended     refused   -            returns at once   no effect     allowed
/// A running thread keeps its object alive when the last handle goes. An object that never had a handle belongs to its
/// maker, who joins it before destroying it. An exception out of `run` ends the thread and is dropped.
/// Threads: any.
class ZQCORE27_EXPORT JTCThread : public virtual JTCRefCount {
 public:
  /// A thread that doesn't run yet. `name`, which may be null and is copied, shows in debuggers, cut to the length that
  /// the system takes.
  JTCThread(JTCHandleT<JTCThreadGroup>& group, const char* name);
  ~JTCThread() override;

  /// Starts it: a new thread calls `run`, perhaps before this returns. Errors: JTCSystemCallException where the system
  /// has no thread to give, or (EINVAL) when it was started before.
  void start();
  /// Waits until the thread has ended. Any number of callers, at once and after the end. Errors: JTCSystemCallException
  /// (EDEADLK) when a thread would wait for itself.
  void join();
  /// True from start() to the end of the thread.
  bool isAlive() const;
  /// The object of the calling thread; null on a thread that wasn't started through this layer.
  static JTCThread* currentThread();
  /// 0 is normal, higher is more urgent, -19 to 20. Errors: JTCSystemCallException outside the range (EINVAL), and
  /// where the process lacks the right to raise a priority.
  void setPriority(int priority);

  /// What the thread does. Called directly, it is a function like any other: exceptions pass.
  virtual void run() = 0;

 private:
  struct State;
  class Running;

  static void enter(void* thread);

  std::shared_ptr<State> fState;  // shared with the running thread, which outlives the object by a few steps
  JTCHandleT<JTCThreadGroup> fGroup;
};

/// A re-entrant lock of its own and a place to wait. notify wakes waiters in the order in which they came, and a waiter
/// whose time is up before a notify takes none. A notify that finds nobody waiting isn't remembered. A wait ends by a
/// notify or its timeout alone.
/// Requires: the lock is held by the caller in notify, notifyAll and wait. Threads: any.
class ZQCORE27_EXPORT ZQCORE27_CAPABILITY("monitor") JTCMonitor : public FromLibraryHeap {
 public:
  JTCMonitor();
  JTCMonitor(const JTCMonitor&) = delete;
  JTCMonitor& operator=(const JTCMonitor&) = delete;
  virtual ~JTCMonitor();

  /// Takes the lock. The argument is there for its callers; both values do the same.
  void lock(bool) const ZQCORE27_ACQUIRE();
  void unlock() const ZQCORE27_RELEASE();
  void notify();
  void notifyAll();
  /// Gives the lock up, as often as the caller holds it, and blocks, in one step; holds it again on return.
  void wait();
  /// The same for at most `timeout` milliseconds; 0 or less gives the lock up and takes it back.
  void wait(std::int32_t timeout);

 private:
  struct Waiter;

  void append(Waiter& waiter);
  void unlink(Waiter& waiter);

  mutable CriticalSection fLock;  // guards the list
  Waiter* fFirst = nullptr;       // those who wait, on their own stacks, the longest waiting first
  Waiter* fLast = nullptr;
};

/// A re-entrant lock. Requires: unlock by the owner. Threads: any.
class ZQCORE27_EXPORT ZQCORE27_CAPABILITY("mutex") JTCRecursiveMutex {
 public:
  JTCRecursiveMutex() = default;
  JTCRecursiveMutex(const JTCRecursiveMutex&) = delete;
  JTCRecursiveMutex& operator=(const JTCRecursiveMutex&) = delete;
  void lock() const ZQCORE27_ACQUIRE();
  void unlock() const ZQCORE27_RELEASE();

 private:
  mutable CriticalSection fSection;
};

}  // namespace Thr1001203

using Thr1001203::JTCHandleT;
using Thr1001203::JTCInitialize;
using Thr1001203::JTCInterruptedException;
using Thr1001203::JTCMonitor;
using Thr1001203::JTCRecursiveMutex;
using Thr1001203::JTCRefCount;
using Thr1001203::JTCSystemCallException;
using Thr1001203::JTCThread;
using Thr1001203::JTCThreadGroup;

}  // namespace zqcore27
