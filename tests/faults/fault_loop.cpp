#include "tests/faults/fault_loop.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>

namespace {

constexpr unsigned LONGEST_RUN = 60;  // seconds: more is a hang

const char* const MODES[] = {"none", "once", "from then", "interrupted", "short"};

int lowestFreeDescriptor() {
  const int descriptor = open("/dev/null", O_RDONLY);
  close(descriptor);
  return descriptor;
}

std::size_t threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

/// The last that a run does: looks at what is left.
void requireNothingLeft(const FaultScenario& scenario, int descriptor) {
  while (threads() != 1) usleep(100);  // extra workers of a pool end by themselves; the alarm sees to the rest
  scenario.end();
  require(lowestFreeDescriptor() == descriptor, "no descriptor stays open");
  const std::uint32_t live = faultsSeen().live;
  if (live > scenario.kept) std::fprintf(stderr, "%u blocks live\n", live);
  require(live <= scenario.kept, "no block is left");
}

FaultsSeen runHere(const FaultScenario& scenario, std::uint32_t n, FaultMode mode) {
  const int descriptor = lowestFreeDescriptor();
  for (const bool calm : {false, true}) {
    const FaultRun run(n, mode, calm);
    try {
      scenario.run(run);
    } catch (...) {
      require(false, "nothing leaves the scenario");
    }
    run.stop();
  }
  const FaultsSeen seen = faultsSeen();
  requireNothingLeft(scenario, descriptor);
  return seen;
}

/// False if the run failed.
bool runApart(const FaultScenario& scenario, std::uint32_t n, FaultMode mode, FaultsSeen& seen) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(LONGEST_RUN);
    seen = runHere(scenario, n, mode);
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  const int m = static_cast<int>(mode), by = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  std::fprintf(stderr, "%s: mode %d (%s), call %u: signal %d%s, status %d\n", scenario.name, m, MODES[m], n, by,
               by == SIGALRM ? " (it hung)" : "", WEXITSTATUS(status));
  return false;
}

}  // namespace

void require(bool holds, const char* what, int line, const char* file) {
  if (holds) return;
  faultsStop();
  std::fprintf(stderr, "%s:%d: doesn't hold: %s\n", file, line, what);
  if (std::getenv("FAULTS_ABORT") != nullptr) std::abort();
  _exit(1);
}

int faultLoop(int argc, char** argv, std::initializer_list<FaultScenario> scenarios) {
  if (faultsStart == nullptr) return std::fprintf(stderr, "start it with the fault object as LD_PRELOAD\n"), 2;
  void* const page = mmap(nullptr, sizeof(FaultsSeen), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto& seen = *new (page) FaultsSeen{};
  int failures = 0;
  for (const FaultScenario& scenario : scenarios) {
    if (argc == 4 && std::strcmp(argv[1], scenario.name) == 0) {
      runHere(scenario, static_cast<std::uint32_t>(std::atoi(argv[3])), static_cast<FaultMode>(std::atoi(argv[2])));
      return 0;
    }
    for (int mode = 0; argc == 1 && mode < static_cast<int>(std::size(MODES)); ++mode) {
      std::uint32_t runs = 0, delivered = 0, kinds = 0;
      do {
        seen = {};
        if (!runApart(scenario, ++runs, static_cast<FaultMode>(mode), seen)) {
          seen.delivered = 1;  // to go on with the next one
          if (++failures == 10) return 1;
        }
        delivered += seen.delivered;
        kinds |= seen.kinds;
      } while (seen.delivered != 0);
      std::printf("%-10s %-12s %5u runs %7u faults, kinds %3x, %u calls at the end\n", scenario.name, MODES[mode], runs,
                  delivered, kinds, seen.calls);
      std::fflush(stdout);
    }
  }
  return argc == 1 && failures == 0 ? 0 : 1;
}
