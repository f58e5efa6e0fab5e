# Every target of the project builds without a warning, on g++ and on clang.
add_library(zqcore27_warnings INTERFACE)
target_compile_options(zqcore27_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
  # g++ 12 sees overlaps in std::string's own concatenation: https://gcc.gnu.org/bugzilla/show_bug.cgi?id=105651
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
