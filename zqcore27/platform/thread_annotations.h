#pragma once

// Clang's thread-safety analysis, checked by every clang build; nothing on other compilers.
// https://clang.llvm.org/docs/ThreadSafetyAnalysis.html

#if defined(__clang__)
#define ZQCORE27_TSA(x) __attribute__((x))
#else
#define ZQCORE27_TSA(x)
#endif

#define ZQCORE27_CAPABILITY(name) ZQCORE27_TSA(capability(name))
#define ZQCORE27_SCOPED_CAPABILITY ZQCORE27_TSA(scoped_lockable)
#define ZQCORE27_GUARDED_BY(mutex) ZQCORE27_TSA(guarded_by(mutex))
#define ZQCORE27_REQUIRES(...) ZQCORE27_TSA(requires_capability(__VA_ARGS__))
#define ZQCORE27_ACQUIRE(...) ZQCORE27_TSA(acquire_capability(__VA_ARGS__))
#define ZQCORE27_RELEASE(...) ZQCORE27_TSA(release_capability(__VA_ARGS__))
#define ZQCORE27_TRY_ACQUIRE(...) ZQCORE27_TSA(try_acquire_capability(__VA_ARGS__))
#define ZQCORE27_EXCLUDES(...) ZQCORE27_TSA(locks_excluded(__VA_ARGS__))
#define ZQCORE27_NO_THREAD_SAFETY_ANALYSIS ZQCORE27_TSA(no_thread_safety_analysis)
