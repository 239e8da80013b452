# Set-up of the fuzzing build: every target is watched by libFuzzer, the address and the undefined-behaviour sanitizer.

if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "QUARN_FUZZ needs clang, not ${CMAKE_CXX_COMPILER_ID}: use the preset fuzz")
endif()

add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
add_link_options(-fsanitize=address,undefined)

# quarn_fuzz_target(<name> <library>)
#
# The program fuzz_<name>, which feeds fuzz::<name>() of that library of fuzz/targets.
function(quarn_fuzz_target name library)
  add_executable(fuzz_${name} entry.cpp)
  target_compile_definitions(fuzz_${name} PRIVATE FUZZ_TARGET=${name})
  target_link_libraries(fuzz_${name} PRIVATE ${library} quarn_compiler)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
endfunction()
