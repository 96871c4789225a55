# What kf_install_set builds: no test, benchmark, fuzz target or add-on among its inputs.
# Arguments (-D): NINJA, BUILD, SOURCE.
execute_process(COMMAND ${NINJA} -C ${BUILD} -t inputs kf_install_set
  OUTPUT_VARIABLE inputs RESULT_VARIABLE rc ERROR_VARIABLE why)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "ninja cannot list the inputs of kf_install_set:\n${why}")
endif()
if(NOT inputs MATCHES "kfhost" OR NOT inputs MATCHES "kf_framework")
  message(FATAL_ERROR "kf_install_set does not build the package:\n${inputs}")
endif()
string(REGEX MATCHALL "(^|\n)(${SOURCE}/)?(tests|bench|fuzz|examples|addon)/[^\n]*" extra "${inputs}")
if(extra)
  message(FATAL_ERROR "kf_install_set builds more than the package installs:\n${extra}")
endif()
