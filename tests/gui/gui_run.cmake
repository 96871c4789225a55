# Runs a script headless and then against the windows (offscreen, with pictures) and checks that
# both runs pass with the same transcript and that the pictures are there.
# -DKFHOST=... -DARGS=<kfhost arguments> -DSCRIPT=... -DWORK=<scratch folder> -DPICTURES=<names>
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

execute_process(COMMAND ${KFHOST} ${ARGS} --framework-folder ${WORK}/fw-headless --headless --strict --script ${SCRIPT}
  RESULT_VARIABLE headless_rc OUTPUT_VARIABLE headless_out ERROR_VARIABLE headless_err TIMEOUT 60)
if(NOT headless_rc EQUAL 0)
  message(FATAL_ERROR "the headless run failed (${headless_rc}):\n${headless_out}\n${headless_err}")
endif()

set(ENV{QT_QPA_PLATFORM} offscreen)
execute_process(COMMAND ${KFHOST} ${ARGS} --framework-folder ${WORK}/fw-gui --gui --screenshot ${WORK}/pictures
                        --strict --script ${SCRIPT}
  RESULT_VARIABLE gui_rc OUTPUT_VARIABLE gui_out ERROR_VARIABLE gui_err TIMEOUT 60)
if(NOT gui_rc EQUAL 0)
  message(FATAL_ERROR "the windowed run failed (${gui_rc}):\n${gui_out}\n${gui_err}")
endif()

# The framework folder is part of some lines; each run had its own.
string(REPLACE "${WORK}/fw-headless" "FW" headless_out "${headless_out}")
string(REPLACE "${WORK}/fw-gui" "FW" gui_out "${gui_out}")
if(NOT headless_out STREQUAL gui_out)
  file(WRITE ${WORK}/headless.txt "${headless_out}")
  file(WRITE ${WORK}/gui.txt "${gui_out}")
  message(FATAL_ERROR "the transcripts differ: see ${WORK}/headless.txt and ${WORK}/gui.txt")
endif()

file(GLOB taken RELATIVE ${WORK}/pictures ${WORK}/pictures/*.png)
list(SORT taken)
set(expected)
foreach(name IN LISTS PICTURES)
  list(APPEND expected ${name}.png)
endforeach()
if(NOT taken STREQUAL expected)
  message(FATAL_ERROR "pictures taken: ${taken}\nexpected: ${expected}")
endif()
foreach(name IN LISTS taken)
  file(SIZE ${WORK}/pictures/${name} size)
  if(size LESS 500)
    message(FATAL_ERROR "${name} is only ${size} bytes")
  endif()
endforeach()
