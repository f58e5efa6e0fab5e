#pragma once

// Internal: the submitted jobs that one cancel hit, kept until no lock is held any more. The host's code runs in what
// they do then.

#include <cassert>

#include "zqcore27/threads/submitted_job.h"

inline namespace zqcore27 {

/// Each job is in one list at most: what is dropped from the queue never runs, and what runs is stopped once.
/// Requires: one of the two operations before its end. Threads: one at a time.
class SubmittedJobList {
 public:
  SubmittedJobList() = default;
  SubmittedJobList(const SubmittedJobList&) = delete;
  SubmittedJobList& operator=(const SubmittedJobList&) = delete;
  ~SubmittedJobList() { assert(fFirst == nullptr); }

  /// Takes one handle of `job` over.
  void append(SubmittedJob* job) {
    *fEnd = job;
    fEnd = &job->fNext;
  }
  void abandonAll() {
    forAll([](SubmittedJob& job) { job.abandon(); });
  }
  void stopAll() {
    forAll([](SubmittedJob& job) { job.stop(); });
  }

 private:
  template <class Do>
  void forAll(Do what) {
    while (SubmittedJob* const job = fFirst) {
      fFirst = job->fNext;
      what(*job);
      job->drop_handle();
    }
    fEnd = &fFirst;
  }

  SubmittedJob* fFirst = nullptr;
  SubmittedJob** fEnd = &fFirst;  // where the next one goes
};

}  // namespace zqcore27
