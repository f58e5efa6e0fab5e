# Every target of the project builds without a warning, on g++ and on clang.
add_library(zqcore27_warnings INTERFACE)
target_compile_options(zqcore27_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
