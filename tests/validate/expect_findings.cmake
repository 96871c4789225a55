# Runs kfhost validate at strictness 10 on one bundle and checks that it fails with exactly the
# findings expected. -DKFHOST -DBUNDLE -DFAILS=<number of FAIL lines> -DEXPECT=<regexes, one a line>
# [-DARGS=<more arguments, one a line>]
string(REPLACE "\n" ";" args "${ARGS}")
string(REPLACE "\n" ";" expect "${EXPECT}")
execute_process(
  COMMAND ${KFHOST} validate --strictness 10 --seed 1 ${args} ${BUNDLE}
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 240)
if(NOT rc STREQUAL "1")
  message(FATAL_ERROR "kfhost validate exited with ${rc}, not 1:\n${out}\n${err}")
endif()
string(REGEX MATCHALL "\n  FAIL " fails "\n${out}")
list(LENGTH fails count)
if(NOT count EQUAL FAILS)
  message(FATAL_ERROR "${count} checks failed, not ${FAILS}:\n${out}")
endif()
foreach(regex IN LISTS expect)
  if(NOT out MATCHES "${regex}")
    message(FATAL_ERROR "the report lacks \"${regex}\":\n${out}")
  endif()
endforeach()
