#include "zqcore27/threads/registry.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/threads/host_thread.h"

namespace {

/// Plays a script on a registry and notes after each step what it tells of the calling thread, as depth.value, with an
/// m for the main thread. r, L and P register, u and U unregister, + and - change the depth, a digit is attached as
/// value and context. What stands in brackets is played by another thread, of which the note is made behind them.
class Player {
 public:
  std::string play(const std::string& script) {
    std::string notes;
    for (std::size_t at = 0; at < script.size(); ++at) {
      std::uint32_t id = fRegistry.getThisId();
      if (script[at] == '(') {
        const std::size_t end = script.find(')', at);
        std::string other;
        HostThread thread([&] { other = play(script.substr(at + 1, end - at - 1)); });
        id = thread.id();
        thread.join();
        notes += "(" + other + ")";
        at = end;
      } else {
        step(script[at], at % 2 == 0 ? 0 : id);
        if (at % 2 == 0) id = 0;
      }
      const std::uint16_t value = fRegistry.getThisThreadPavo(id);
      notes += std::to_string(static_cast<std::int32_t>(fRegistry.depth(id))) + "." + std::to_string(value & 0xF) +
               (fRegistry.isMainThread(id) ? "m " : " ");
      EXPECT_EQ(fRegistry.getThisThreadContext(id), value == 0 ? nullptr : fValues + (value - 0xFFF0));
    }
    return notes;
  }

 private:
  void step(char kind, std::uint32_t id) {
    switch (kind) {
      case 'r':
        EXPECT_EQ(fRegistry.registerThread(), fRegistry.getThisId());
        break;
      case 'L':
        EXPECT_EQ(fRegistry.registerLIRAThread(), fRegistry.getThisId());
        break;
      case 'P':
        EXPECT_EQ(fRegistry.registerPAVOThread(), fRegistry.getThisId());
        break;
      case 'u':
        return fRegistry.unregisterThread(id);
      case 'U':
        return fRegistry.unregisterLIRAThread(id);
      case '+':
        return fRegistry.increaseDepth(id);
      case '-':
        return fRegistry.decreaseDepth(id);
      default:
        fRegistry.setThisThreadPavo(static_cast<std::uint16_t>(0xFFF0 + kind - '0'), id);
        fRegistry.setThisThreadContext(fValues + (kind - '0'), id);
    }
  }

  ThreadRegistry fRegistry;
  char fValues[10];
};

TEST(ThreadRegistryTest, TellsOfEachThreadWhatItsRegistrationsMade) {
  static constexpr struct {
    int line;
    const char *script, *notes;
  } ROWS[] = {
      {__LINE__, "5+-uU", "0.0 0.0 0.0 0.0 0.0 "},  // of a thread that it doesn't know
      {__LINE__, "rr5uu-++r",
       "1.0 2.0 2.5 1.5 0.5 -1.5 0.5 1.5 2.5 "},  // what is attached stays without a registration
      {__LINE__, "rrr7LUUL",
       "1.0 2.0 3.0 3.7 1.7 0.0 0.0 1.0 "},                 // LIRA sets the depth, and its end forgets the thread
      {__LINE__, "(P)(PP)", "(1.0m )1.0m (1.0 2.0 )2.0 "},  // the first PAVO caller is the main thread
      {__LINE__, "rr5PPLUL", "1.0 2.0 2.5 1.0m 2.0m 2.0m 2.0 1.0 "},  // a known thread gets a second entry, looked at
                                                                      // first; LIRA sees the older one
      {__LINE__, "PU(rP)", "1.0m 0.0 (1.0 1.0m )1.0m "},  // a newcomer, perhaps in the block of the removed entry
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.script);
    EXPECT_EQ(Player().play(row.script), row.notes);
  }
}

}  // namespace
