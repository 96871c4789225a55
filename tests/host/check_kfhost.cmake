# Runs kfhost on a script and checks its exit status and what it printed.
# -DKFHOST -DADDONS -DFW -DSCRIPT -DRC (expected status) [-DOUT regex on stdout] [-DERR regex on stderr]
execute_process(
  COMMAND ${KFHOST} --addons ${ADDONS} --framework-folder ${FW} --script ${SCRIPT} --strict
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 60)
if(NOT rc STREQUAL RC)
  message(FATAL_ERROR "kfhost exited with ${rc}, not ${RC}\n${out}\n${err}")
endif()
if(DEFINED OUT AND NOT out MATCHES "${OUT}")
  message(FATAL_ERROR "the transcript lacks \"${OUT}\":\n${out}")
endif()
if(DEFINED ERR AND NOT err MATCHES "${ERR}")
  message(FATAL_ERROR "kfhost did not report \"${ERR}\":\n${err}")
endif()
