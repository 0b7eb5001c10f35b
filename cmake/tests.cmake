# Makes the tests of a GoogleTest program known to CTest under "<prefix>/". For Windows a program is one entry, so that
# the start of Wine is paid once; a program with long tests is split into `shards` entries that can run side by side.
include(GoogleTest)

# What every test includes is compiled once, with the first test program, and taken over by the others.
function(tarvo_test_headers program)
  if(TARGET test_platform AND NOT program STREQUAL "test_platform")
    target_precompile_headers(${program} REUSE_FROM test_platform)
  else()
    target_precompile_headers(${program} PRIVATE <gtest/gtest.h> <algorithm> <filesystem> <map> <string> <vector>)
  endif()
  if(CCACHE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${program} PRIVATE -fpch-preprocess)
  endif()
endfunction()

function(tarvo_tests program prefix)
  tarvo_test_headers(${program})
  if(NOT WIN32)
    gtest_discover_tests(${program} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_PREFIX "${prefix}/"
                         PROPERTIES TIMEOUT 300)
    return()
  endif()
  set(shards 1)
  if(ARGC GREATER 2)
    set(shards ${ARGV2})
  endif()
  foreach(shard RANGE 1 ${shards})
    math(EXPR index "${shard} - 1")
    set(name ${prefix}/${program}-${shard})
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/scripts/wine_test.sh $<TARGET_FILE:${program}> --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES TIMEOUT 600 ENVIRONMENT
                         "GTEST_TOTAL_SHARDS=${shards};GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()
