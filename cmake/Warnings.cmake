# One set of flags for every object of the project: warnings are errors, and arithmetic is what the source says.
add_library(tlr2_flags INTERFACE)
target_include_directories(tlr2_flags INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(tlr2_flags INTERFACE TLR2_PROFILING=$<BOOL:${TLR2_PROFILING}>)
target_compile_options(tlr2_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wno-psabi -Werror
  # Separate multiply and add stay separate, on every target: records and pictures depend on each rounding.
  -ffp-contract=off
  # The entry alignment and the vector baseline; x87 would round differently.
  -msse2 -mfpmath=sse
  -fno-strict-aliasing)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  target_compile_options(tlr2_flags INTERFACE -Wno-unused-command-line-argument -Wno-gnu-zero-variadic-macro-arguments)
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Callers of the 32-bit interface give 4-byte stack alignment; vector spills need more.
  target_compile_options(tlr2_flags INTERFACE -mstackrealign -mincoming-stack-boundary=2)
endif()
if(WIN32)
  target_compile_definitions(tlr2_flags INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00
    __USE_MINGW_ANSI_STDIO=1)
  target_link_options(tlr2_flags INTERFACE -static)
endif()
if(TLR2_SANITIZER)
  target_compile_options(tlr2_flags INTERFACE -fsanitize=${TLR2_SANITIZER} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tlr2_flags INTERFACE -fsanitize=${TLR2_SANITIZER})
  # Tests of faults leave out what a sanitizer keeps for itself; only one compiler has macros for it.
  foreach(kind address thread)
    if(TLR2_SANITIZER MATCHES ${kind})
      string(TOUPPER ${kind} upper)
      target_compile_definitions(tlr2_flags INTERFACE TLR2_SANITIZED_${upper})
    endif()
  endforeach()
endif()
