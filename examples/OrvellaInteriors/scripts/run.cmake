# Runs Orvella Interiors in kfhost on one of the scripts beside this file.
#   cmake -DKFHOST=<kfhost> -DBUNDLE=<OrvellaInteriors.bundle> -DRUN=<script name> -DWORK=<scratch dir>
#         -P run.cmake
# The bundle is copied into WORK/Add-Ons, so that what lies beside it is the run's own choice.
# Each run sets up its own surroundings below; FORBID is a pattern the transcript must not hold.
foreach(var KFHOST BUNDLE RUN WORK)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "run.cmake: -D${var}=... is missing")
  endif()
endforeach()
set(EXAMPLE ${CMAKE_CURRENT_LIST_DIR}/..)

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/Add-Ons ${WORK}/framework)
file(COPY ${BUNDLE} DESTINATION ${WORK}/Add-Ons)
get_filename_component(bundle_name ${BUNDLE} NAME)
set(bundle ${WORK}/Add-Ons/${bundle_name})

set(args)
set(FORBID "")
if(RUN STREQUAL "suite")
  # The suite library beside the add-on, a named project, engines of the run's own.
  file(COPY ${EXAMPLE}/Tavolo_Library DESTINATION ${WORK}/Add-Ons)
  list(APPEND args --project "${WORK}/Office Tower.proj" --engine "Basic Shading" --engine "Sketch Line Renderer")
elseif(RUN STREQUAL "asked")
  # No suite library beside it: the user points at one elsewhere. The host's own engines, with
  # the sketch engine already chosen, so that nothing is changed.
  file(MAKE_DIRECTORY ${WORK}/Elsewhere)
  file(COPY ${EXAMPLE}/Tavolo_Library/ DESTINATION ${WORK}/Elsewhere/Furniture)
  list(APPEND args --current-engine 2)
  set(FORBID "rendering engine [0-9]|launched")
elseif(RUN STREQUAL "missing")
  # Nothing to be had: the user cancels, the read-me is gone, no engine fits.
  file(REMOVE ${bundle}/ReadMe.txt)
  list(APPEND args --engine "Basic Shading")
  set(FORBID "launched|library added")
else()
  message(FATAL_ERROR "run.cmake: no run called ${RUN}")
endif()

configure_file(${CMAKE_CURRENT_LIST_DIR}/${RUN}.kfs ${WORK}/${RUN}.kfs @ONLY)
execute_process(
  COMMAND ${KFHOST} --addon ${bundle} --framework-folder ${WORK}/framework --strict --script ${WORK}/${RUN}.kfs ${args}
  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
message("${out}${err}")
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "kfhost answered ${rc}")
endif()
if(FORBID AND out MATCHES "${FORBID}")
  message(FATAL_ERROR "the transcript holds \"${CMAKE_MATCH_0}\", which this run must not show")
endif()
