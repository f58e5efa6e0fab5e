#include "zqcore27/threads/registry.h"

#include <algorithm>
#include <memory>

#include "zqcore27/platform/native_thread.h"

inline namespace zqcore27 {

ThreadRegistry::ThreadRegistry() = default;

ThreadRegistry::~ThreadRegistry() { clear_thread_list(); }

std::uint32_t ThreadRegistry::registerThread() {
  const std::uint32_t id = this_thread_id();
  const OrlanSynchronized hold(fMutex);
  ThreadIDFlag* entry = look_up(id);
  if (entry == nullptr) entry = append(id);
  ++entry->fDepth;
  return id;
}

std::uint32_t ThreadRegistry::registerLIRAThread() {
  const std::uint32_t id = this_thread_id();
  const OrlanSynchronized hold(fMutex);
  ThreadIDFlag* entry = get_id_flag_from_list(id);
  if (entry == nullptr) entry = append(id);
  entry->fDepth = 1;
  return id;
}

std::uint32_t ThreadRegistry::registerPAVOThread() {
  const std::uint32_t id = this_thread_id();
  const OrlanSynchronized hold(fMutex);
  ThreadIDFlag* entry = look_up(id);
  if (fMain == nullptr) entry = fMain = append(id);
  if (entry == nullptr) entry = append(id);
  ++entry->fDepth;
  return id;
}

void ThreadRegistry::unregisterThread(std::uint32_t id) { decreaseDepth(id); }

void ThreadRegistry::unregisterLIRAThread(std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  remove_id_flag_from_list(id);
}

void ThreadRegistry::increaseDepth(std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  if (ThreadIDFlag* const entry = look_up(id)) ++entry->fDepth;
}

void ThreadRegistry::decreaseDepth(std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  if (ThreadIDFlag* const entry = look_up(id)) --entry->fDepth;
}

std::uint32_t ThreadRegistry::depth(std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  const ThreadIDFlag* const entry = look_up(id);
  return entry != nullptr ? entry->fDepth : 0;
}

void ThreadRegistry::setThisThreadPavo(std::uint16_t value, std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  if (ThreadIDFlag* const entry = look_up(id)) entry->fPavo = value;
}

std::uint16_t ThreadRegistry::getThisThreadPavo(std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  const ThreadIDFlag* const entry = look_up(id);
  return entry != nullptr ? entry->fPavo : std::uint16_t{0};
}

void ThreadRegistry::setThisThreadContext(void* context, std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  if (ThreadIDFlag* const entry = look_up(id)) entry->fContext = context;
}

void* ThreadRegistry::getThisThreadContext(std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  const ThreadIDFlag* const entry = look_up(id);
  return entry != nullptr ? entry->fContext : nullptr;
}

bool ThreadRegistry::isMainThread(std::uint32_t id) {
  id = id_or_own(id);
  const OrlanSynchronized hold(fMutex);
  return fMain != nullptr && fMain->fId == id;
}

std::uint32_t ThreadRegistry::getThisId() { return this_thread_id(); }

std::uint32_t ThreadRegistry::this_thread_id() const { return callingThreadId(); }

ThreadIDFlag* ThreadRegistry::look_up(std::uint32_t id) {
  return fMain != nullptr && fMain->fId == id ? fMain : get_id_flag_from_list(id);
}

ThreadIDFlag* ThreadRegistry::append(std::uint32_t id) {
  auto entry = std::make_unique<ThreadIDFlag>();
  entry->fId = id;
  fList.push_back(entry.get());
  return entry.release();
}

ThreadIDFlag* ThreadRegistry::get_id_flag_from_list(std::uint32_t id) {
  const auto found = std::find_if(fList.begin(), fList.end(), [id](const ThreadIDFlag* e) { return e->fId == id; });
  return found != fList.end() ? *found : nullptr;
}

void ThreadRegistry::remove_id_flag_from_list(std::uint32_t id) {
  const auto found = std::find_if(fList.begin(), fList.end(), [id](const ThreadIDFlag* e) { return e->fId == id; });
  if (found == fList.end()) return;
  if (fMain != nullptr && fMain->fId == id) fMain = nullptr;
  delete *found;
  fList.erase(found);
}

void ThreadRegistry::clear_thread_list() {
  const OrlanSynchronized hold(fMutex);
  fMain = nullptr;
  for (ThreadIDFlag* const entry : fList) delete entry;
  fList.clear();
}

}  // namespace zqcore27
