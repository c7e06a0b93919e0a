# Compile settings of every target of this project, set on the target (not
# on the directory, so that a project embedding Plexa keeps its own):
# C++20 for the sources, hidden visibility, warnings, and assertions on
# internal invariants kept in optimised builds.  With PLEXA_SANITIZE the
# target is built and linked with AddressSanitizer and UBSan, with
# PLEXA_THREAD_SANITIZE with ThreadSanitizer, with PLEXA_BUILD_FUZZ (clang)
# with both of the first and libFuzzer's coverage.
function(plexa_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic $<$<CONFIG:RelWithDebInfo>:-UNDEBUG>
    # The reference-map tables of the quadratic kinds are built at compile
    # time, past clang's default evaluation budget.
    $<$<CXX_COMPILER_ID:Clang>:-fconstexpr-steps=100000000>)
  if(PLEXA_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=all)
  elseif(PLEXA_THREAD_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=thread)
  elseif(PLEXA_BUILD_FUZZ)
    # Coverage for libFuzzer everywhere; the fuzz targets link the fuzzer.
    target_compile_options(${target} PRIVATE
      -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()
