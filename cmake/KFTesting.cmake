# How the suite registers its tests, so that every test can be picked by name and by label
# (docs/testing.md). A test's name starts with its area, the folder it lives in under tests/ (or
# "fuzz"), followed by a dot: `ctest -R '^update\.'`. Each test carries its area as a label and any of
#   net      opens sockets (loopback servers, downloads)
#   gui      drives Qt windows (offscreen)
#   slow     takes more than about two seconds in the dev build
#   install  installs the package or writes projects and builds them
# so that `ctest -L net` or `ctest -LE slow` selects.
#
# kf_add_gtest(<target> [LABELS <label>...] [NET|GUI|SLOW|INSTALL <regex>...] [TIMEOUT <s>]
#              [PROPERTIES <name> <value>...])
#   Every test of a GoogleTest program, named <area>.<Suite>.<Test>, listed when ctest runs. LABELS go
#   on all of them; a test whose <Suite>.<Test> matches a regex after SLOW is labelled slow as well
#   (and so on for the other labels). PROPERTIES (single values) go on all of them.
# kf_add_test(NAME <area>.<name> COMMAND <command>... [WORKING_DIRECTORY <dir>] [LABELS <label>...]
#             [TIMEOUT <s>])
#   One command as a test.
# kf_test_labels(<test>... LABELS <label>...)
#   More labels for tests that another function registered (kf_add_addon_test, kf_add_addon_validate).
# kf_check_test_names(<dir>...)
#   Fails the configure step for a test of those folders (and their subfolders) whose name lacks its
#   area prefix.
#
# In a folder that uses any of these, every test it adds (with add_test too) gets the area label at
# the end of the folder, and one without the area's prefix fails the configure step.
#
# TIMEOUT only ends a hung test: it is far above what any test needs under a sanitizer on a loaded
# machine (default 300 s).

include(GoogleTest)

set(KF_TEST_LABELS net gui slow install)
set(KF_TEST_TIMEOUT 300)

# The area of the current folder: its first component under tests/ or fuzz/.
function(_kf_test_area out)
  foreach(root tests fuzz)
    file(RELATIVE_PATH rel ${PROJECT_SOURCE_DIR}/${root} ${CMAKE_CURRENT_SOURCE_DIR})
    if(NOT rel MATCHES "^\\.\\.")
      if(root STREQUAL "fuzz" OR rel STREQUAL "")
        set(${out} ${root} PARENT_SCOPE)
      else()
        string(REGEX REPLACE "/.*" "" area "${rel}")
        set(${out} ${area} PARENT_SCOPE)
      endif()
      return()
    endif()
  endforeach()
  message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}: tests live under tests/ or fuzz/")
endfunction()

# Once per folder: at its end, every test it added carries the area label and the area's prefix.
function(_kf_finish_area_at_end area)
  get_property(deferred DIRECTORY PROPERTY KF_TEST_AREA_FINISH)
  if(NOT deferred)
    set_property(DIRECTORY PROPERTY KF_TEST_AREA_FINISH ${area})
    # A deferred call reads its arguments when it runs: the area goes in as text.
    cmake_language(EVAL CODE "cmake_language(DEFER CALL _kf_finish_area [[${area}]])")
  endif()
endfunction()

function(_kf_finish_area area)
  get_property(tests DIRECTORY PROPERTY TESTS)
  foreach(test IN LISTS tests)
    if(NOT test MATCHES "^${area}\\.")
      message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}: the test '${test}' must be named ${area}.<name> (cmake/KFTesting.cmake)")
    endif()
    get_property(labels TEST ${test} PROPERTY LABELS)
    if(NOT area IN_LIST labels)
      set_property(TEST ${test} APPEND PROPERTY LABELS ${area})
    endif()
  endforeach()
endfunction()

function(_kf_check_labels where)
  foreach(label IN LISTS ARGN)
    if(NOT label IN_LIST KF_TEST_LABELS)
      message(FATAL_ERROR "${where}: unknown test label '${label}' (known: ${KF_TEST_LABELS})")
    endif()
  endforeach()
endfunction()

function(kf_add_gtest target)
  string(TOUPPER "${KF_TEST_LABELS}" by_test)
  cmake_parse_arguments(ARG "" "TIMEOUT" "LABELS;PROPERTIES;${by_test}" ${ARGN})
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kf_add_gtest(${target}): unknown arguments ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  _kf_check_labels("kf_add_gtest(${target})" ${ARG_LABELS})
  _kf_test_area(area)
  _kf_finish_area_at_end(${area})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT ${KF_TEST_TIMEOUT})
  endif()
  # Listed when ctest runs, not at build time: a build never waits on a sanitized program.
  gtest_discover_tests(${target} TEST_PREFIX "${area}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    TEST_LIST ${target}_TESTS PROPERTIES TIMEOUT ${ARG_TIMEOUT} ${ARG_PROPERTIES})
  # gtest_discover_tests cannot give a list as one property value: the labels come in a file of
  # their own that ctest reads after the list of tests.
  set(code "foreach(test IN LISTS ${target}_TESTS)\n  set(labels ${area} ${ARG_LABELS})\n")
  foreach(label IN LISTS KF_TEST_LABELS)
    string(TOUPPER ${label} key)
    foreach(regex IN LISTS ARG_${key})
      string(APPEND code "  if(test MATCHES [==[^${area}\\.${regex}]==])\n    list(APPEND labels ${label})\n  endif()\n")
    endforeach()
  endforeach()
  string(APPEND code "  set_tests_properties(\${test} PROPERTIES LABELS \"\${labels}\")\nendforeach()\n")
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}_labels.cmake)
  file(WRITE ${file} "${code}")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()

function(kf_add_test)
  # PARSE_ARGV keeps an argument that holds a list (-DARGS=a;b) one argument.
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "NAME;WORKING_DIRECTORY;TIMEOUT" "COMMAND;LABELS")
  if(NOT ARG_NAME OR NOT ARG_COMMAND OR ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kf_add_test: NAME and COMMAND are required (${ARG_NAME} ${ARG_UNPARSED_ARGUMENTS})")
  endif()
  set(dir)
  if(ARG_WORKING_DIRECTORY)
    set(dir WORKING_DIRECTORY ${ARG_WORKING_DIRECTORY})
  endif()
  add_test(NAME ${ARG_NAME} COMMAND ${ARG_COMMAND} ${dir})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT ${KF_TEST_TIMEOUT})
  endif()
  set_tests_properties(${ARG_NAME} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
  kf_test_labels(${ARG_NAME} LABELS ${ARG_LABELS})
endfunction()

function(kf_test_labels)
  cmake_parse_arguments(ARG "" "" "LABELS" ${ARGN})
  _kf_check_labels("kf_test_labels(${ARG_UNPARSED_ARGUMENTS})" ${ARG_LABELS})
  _kf_test_area(area)
  _kf_finish_area_at_end(${area})
  foreach(test IN LISTS ARG_UNPARSED_ARGUMENTS)
    get_property(labels TEST ${test} PROPERTY LABELS)
    list(APPEND labels ${area} ${ARG_LABELS})
    list(REMOVE_DUPLICATES labels)
    set_property(TEST ${test} PROPERTY LABELS ${labels})
  endforeach()
endfunction()

function(kf_check_test_names)
  foreach(dir IN LISTS ARGN)
    get_filename_component(dir ${dir} ABSOLUTE)
    get_property(tests DIRECTORY ${dir} PROPERTY TESTS)
    get_property(subdirs DIRECTORY ${dir} PROPERTY SUBDIRECTORIES)
    file(RELATIVE_PATH rel ${PROJECT_SOURCE_DIR} ${dir})
    string(REGEX MATCH "^(tests/)?([^/]*)" area "${rel}")
    set(area ${CMAKE_MATCH_2})
    foreach(test IN LISTS tests)
      if(NOT test MATCHES "^${area}\\.")
        message(FATAL_ERROR "${rel}: the test '${test}' must be named ${area}.<name> (cmake/KFTesting.cmake)")
      endif()
    endforeach()
    if(subdirs)
      kf_check_test_names(${subdirs})
    endif()
  endforeach()
endfunction()
