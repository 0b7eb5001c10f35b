# Makes the tests of a GoogleTest program known to CTest under "<prefix>/". For Windows a program is one entry, so that
# the start of Wine is paid once.
include(GoogleTest)
function(tarvo_tests program prefix)
  if(WIN32)
    add_test(NAME ${prefix} COMMAND ${program} --gtest_brief=1)
    set_tests_properties(${prefix} PROPERTIES TIMEOUT 600)
  else()
    gtest_discover_tests(${program} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_PREFIX "${prefix}/"
                         PROPERTIES TIMEOUT 300)
  endif()
endfunction()
