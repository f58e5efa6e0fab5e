# ZQCORE27_SANITIZE, for example "address,undefined" or "thread", applies to everything that is built.
if(ZQCORE27_SANITIZE)
  add_compile_options(-fsanitize=${ZQCORE27_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options(-Wno-maybe-uninitialized)  # misfires on instrumented code of the standard library
  endif()
  add_link_options(-fsanitize=${ZQCORE27_SANITIZE})
endif()
