# Compile options shared by every target of the project.
add_library(qdx_compile_options INTERFACE)
target_compile_options(qdx_compile_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
if(QDX_WARNINGS_AS_ERRORS)
  target_compile_options(qdx_compile_options INTERFACE -Werror)
endif()

if(QDX_SANITIZERS)
  add_compile_options(-fsanitize=${QDX_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12's flow analysis of sanitizer-instrumented code reports false
    # maybe-uninitialized values inside the standard library (std::regex).
    target_compile_options(qdx_compile_options INTERFACE -Wno-maybe-uninitialized)
  endif()
  add_link_options(-fsanitize=${QDX_SANITIZERS})
endif()

if(QDX_BUILD_FUZZERS)
  # Coverage feedback for the fuzzers reaches into all of the library's code.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
