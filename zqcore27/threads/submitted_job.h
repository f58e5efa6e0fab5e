#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <future>
#include <stop_token>
#include <type_traits>
#include <utility>

#include "zqcore27/platform/export.h"
#include "zqcore27/threads/jtc.h"
#include "zqcore27/threads/request.h"

inline namespace zqcore27 {

/// What the future of a submitted job holds when the job was cancelled in the queue, or the pool was closing.
class ZQCORE27_EXPORT RequestCancelled : public std::exception {
 public:
  RequestCancelled();
  RequestCancelled(const RequestCancelled&);
  RequestCancelled& operator=(const RequestCancelled&);
  ~RequestCancelled() override;
  const char* what() const noexcept override;
};

/// A callable on its way through a pool, as the pool sees it. Of `run` and `abandon` exactly one is called, once,
/// `stop` at most once, perhaps while `run` runs or after it. No lock of the pool is held meanwhile, nor when the last
/// handle goes, unless the cancel was made by a cleanup at a cancel: that one runs under the pool's locks. Its memory
/// is the library's; what it holds beside is made and freed by the host's code alone.
class ZQCORE27_EXPORT SubmittedJob : public JTCRefCount {
 public:
  SubmittedJob();
  ~SubmittedJob() override;
  /// Calls the callable and completes the future with its result or its exception.
  virtual void run() noexcept = 0;
  /// The running job was cancelled.
  virtual void stop() noexcept = 0;
  /// The job will never run: completes the future with RequestCancelled.
  virtual void abandon() noexcept = 0;

 private:
  friend class SubmittedJobList;

  SubmittedJob* fNext = nullptr;  // in the one list of those that a cancel hit
};

/// The job of one callable, made by ThreadRequester::submit in the host.
template <class Callable>
class CallableJob final : public SubmittedJob {
  static constexpr bool TAKES_TOKEN = std::is_invocable_v<Callable, std::stop_token>;
  struct NoStop {};

  static_assert(alignof(Callable) <= alignof(std::max_align_t), "the library's heap gives no stricter alignment");

 public:
  using Result = typename std::conditional_t<TAKES_TOKEN, std::invoke_result<Callable, std::stop_token>,
                                             std::invoke_result<Callable>>::type;

  template <class F>
  explicit CallableJob(F&& callable) : fCallable(std::forward<F>(callable)) {}

  std::future<Result> future() { return fPromise.get_future(); }

  void run() noexcept override {
    try {
      if constexpr (std::is_void_v<Result>) {
        call();
        fPromise.set_value();
      } else {
        fPromise.set_value(call());
      }
    } catch (...) {
      fPromise.set_exception(std::current_exception());
    }
  }
  void stop() noexcept override {
    if constexpr (TAKES_TOKEN) fStop.request_stop();
  }
  void abandon() noexcept override { fPromise.set_exception(std::make_exception_ptr(RequestCancelled())); }

 private:
  Result call() {
    if constexpr (TAKES_TOKEN) {
      return std::invoke(std::move(fCallable), fStop.get_token());
    } else {
      return std::invoke(std::move(fCallable));
    }
  }

  Callable fCallable;
  std::promise<Result> fPromise;
  [[no_unique_address]] std::conditional_t<TAKES_TOKEN, std::stop_source, NoStop> fStop;
};

}  // namespace zqcore27
