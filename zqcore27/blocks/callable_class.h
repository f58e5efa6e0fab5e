#pragma once

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// Base of an object that is called with events of one type. Threads: as whoever sends the events.
template <class Event>
class CallableClass : public FromLibraryHeap {
 public:
  CallableClass() = default;
  CallableClass(const CallableClass&) = default;
  CallableClass& operator=(const CallableClass&) = default;

  /// What the answer means is the sender's affair. This one does nothing and returns false.
  virtual bool call(const Event& event);
  virtual ~CallableClass();
};

template <class Event>
bool CallableClass<Event>::call(const Event&) {
  return false;
}

template <class Event>
CallableClass<Event>::~CallableClass() = default;

}  // namespace zqcore27
