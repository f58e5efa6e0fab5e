#include "tests/tools/zqtool_process.h"

namespace {

using FloatCommandTest = ZqtoolTest;

TEST_F(FloatCommandTest, ConvertsBothWays) {
  static const struct {
    int line;
    std::string words, input;
    Outcome expected;  // the beginning of what is told
  } ROWS[] = {
      {__LINE__, "1 8 8040000000000000", "", {0, "1\n", ""}},
      {__LINE__, "1 4", "80 40\n00 00 20C10000\n", {0, "1\n-2.5\n", ""}},
      {__LINE__, "3 8 --from 7ff8400012345678 3fb999999999999a", "", {0, "special7\n0.1\n", ""}},
      {__LINE__, "2 8 000000000000f07f", "", {0, "inf\n", ""}},
#ifndef __i386__  // where a signalling NaN becomes quiet on its way
      {__LINE__, "2 8 0000f0ff0000f0ff", "", {0, "special9\n", ""}},
#endif
      {__LINE__, "34 4 --to", "1 special2\n0 0.1", {0, "0000803f\n0000c37f\n00000000\ncdcccc3d\n", ""}},
      {__LINE__, "3 8 --to -- -2.5 inf", "", {0, "c004000000000000\n7ff0000000000000\n", ""}},
      {__LINE__, "2 4 --to 1 special4", "", {1, "0000803f\n", "zqtool: special4: "}},
      {__LINE__, "2 4 --to 1e999", "", {1, "", "zqtool: 1e999: no number"}},
      {__LINE__, "2 4 0000803f0000", "", {1, "1\n", "zqtool: the last value: fewer than 4 bytes"}},
      {__LINE__, "2 4 0000803f0", "", {1, "1\n", "zqtool: the last value"}},
      {__LINE__, "2 4 0000-03f", "", {1, "", "zqtool: -: no hexadecimal digit"}},
      {__LINE__, "12 4 00000000", "", {2, "", "zqtool: CODE: 12 names no format"}},
      {__LINE__, "2 5", "", {2, "", "zqtool: WIDTH: "}},
      {__LINE__, "2 4 --to --from", "", {2, "", "zqtool: --to excludes --from"}},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    Outcome outcome = zqtool("float " + row.words, row.input);
    EXPECT_EQ(outcome.err.empty(), row.expected.status == 0);
    outcome.err.resize(std::min(outcome.err.size(), row.expected.err.size()));
    EXPECT_EQ(outcome, row.expected);
  }
}

}  // namespace
