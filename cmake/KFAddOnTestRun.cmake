# The test behind kf_add_addon_test: kfhost plays SCRIPT with BUNDLES in a fresh framework folder
# under WORK. Arguments (-D): KFHOST, BUNDLES (list), SCRIPT, WORK, ARGS (list, may be empty).
foreach(var KFHOST BUNDLES SCRIPT WORK)
  if(NOT DEFINED ${var} OR "${${var}}" STREQUAL "")
    message(FATAL_ERROR "KFAddOnTestRun.cmake: -D${var}=... is missing")
  endif()
endforeach()

# Nothing of an earlier run may decide this one: no stored language, settings or messages.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/framework)

set(addons)
foreach(bundle IN LISTS BUNDLES)
  list(APPEND addons --addon ${bundle})
endforeach()
execute_process(
  COMMAND ${KFHOST} ${addons} --framework-folder ${WORK}/framework --script ${SCRIPT} ${ARGS}
  WORKING_DIRECTORY ${WORK}
  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
file(WRITE ${WORK}/transcript.txt "${out}")
message("${out}${err}")
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "kfhost answered ${rc} on ${SCRIPT} (transcript: ${WORK}/transcript.txt)")
endif()
