# Writes the tests of a built program for ctest, one for each suite: cmake -D PROGRAM= -D PREFIX= -D FILE= -P this.
# A process for each of the tests inside takes longer than most of these do.
execute_process(COMMAND ${PROGRAM} --gtest_list_tests OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "  # [^\n]*" "" listed "${listed}")
string(REGEX MATCHALL "[^\n]+" lines "${listed}")
set(text)
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ]+)\\.$")
    set(suite ${CMAKE_MATCH_1})
    string(APPEND text "add_test([==[${PREFIX}.${suite}]==] "
      "\"${CMAKE_CURRENT_LIST_DIR}/run_suite\" \"${PROGRAM}\" [==[--gtest_filter=${suite}.*]==])\n")
  elseif(line MATCHES "^  (.+)$")
    string(APPEND text "# test ${PREFIX}.${suite}.${CMAKE_MATCH_1}\n")
  endif()
endforeach()
if(NOT text MATCHES "# test ")
  message(FATAL_ERROR "${PROGRAM} lists no tests")
endif()
file(WRITE ${FILE} "${text}")
