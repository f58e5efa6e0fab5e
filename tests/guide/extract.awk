# Makes one program of the C++ blocks of a page: `program N` runs the Nth, counted from 1.
BEGIN { page = ARGV[1] }
/^```cpp$/ { inside = 1; ++count; body[count] = "#line " (NR + 1) " \"" page "\"\n"; next }
/^```$/ { inside = 0 }
!inside { next }
/^#include/ {
  if (!($0 in seen)) includes = includes $0 "\n"
  seen[$0] = 1
  $0 = ""
}
/^int main\(\) \{$/ { in_main = 1; $0 = "static int run() {" }
/^}$/ && in_main { in_main = 0; $0 = "  return 0; }" }  # what main needn't say
{ body[count] = body[count] $0 "\n" }
END {
  printf "#include <cstdlib>\n%s", includes
  for (i = 1; i <= count; ++i) printf "namespace block%d {\n%s}\n", i, body[i]
  print "int main(int, char** argv) {\n  switch (std::atoi(argv[1])) {"
  for (i = 1; i <= count; ++i) printf "    case %d: return block%d::run();\n", i, i
  print "  }\n  return 1;\n}"
}
