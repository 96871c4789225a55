# Plays addon/demo/first-run.kfs on an empty framework folder, then next-run.kfs on what it left.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/framework)
foreach(script first-run next-run)
  execute_process(
    COMMAND ${HOST} --addon ${BUNDLE} --framework-folder ${WORK}/framework --strict --script ${DEMO}/${script}.kfs
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${script}.kfs failed (${status}):\n${out}")
  endif()
endforeach()
