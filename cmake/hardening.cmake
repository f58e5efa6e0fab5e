# A fault that slips through ends the process where it happens instead of being made use of: scripts/hardening checks
# that the built library has all of it. Debug builds check the use of the standard library instead, since the compiler
# sees the sizes that it checks only when it optimises.
add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
if(NOT ZQCORE27_SANITIZE)
  add_compile_options(-Wformat -Werror=format-security
    "$<$<NOT:$<CONFIG:Debug>>:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i.86")
    add_compile_options($<$<NOT:$<CONFIG:Debug>>:-fcf-protection>)
    add_link_options(-Wl,-z,shstk)  # said of the whole, since the C runtime's own start doesn't say it of itself
  endif()
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack,-z,text)
endif()
