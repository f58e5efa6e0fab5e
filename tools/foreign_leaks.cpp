// libgettextpo doesn't free all that it reads. Leak checks are about our own code.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libgettextpo\n";
}
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_options() {
  return "print_suppressions=0";
}
