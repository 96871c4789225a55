# docs/reference.md is what tests/docs/make_reference.py writes from the headers today.
# Arguments (-D): PYTHON, ROOT.
execute_process(COMMAND ${PYTHON} ${ROOT}/tests/docs/make_reference.py ${ROOT}
  OUTPUT_VARIABLE made RESULT_VARIABLE rc ERROR_VARIABLE why)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "make_reference.py failed:\n${why}")
endif()
file(READ ${ROOT}/docs/reference.md page)
if(NOT made STREQUAL page)
  message(FATAL_ERROR "docs/reference.md is not what the headers say; write it anew with\n"
    "  python3 tests/docs/make_reference.py > docs/reference.md")
endif()
