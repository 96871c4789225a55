# cmake -P script behind the install.kit test (arguments: see CMakeLists.txt).

# Runs a command; EXPECT FAIL turns it around. The output is kept in `out` of the caller.
function(run what)
  cmake_parse_arguments(ARG "EXPECT_FAIL" "" "COMMAND" ${ARGN})
  execute_process(COMMAND ${ARG_COMMAND} RESULT_VARIABLE rc OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(ARG_EXPECT_FAIL AND rc EQUAL 0)
    message(FATAL_ERROR "${what} succeeded, but should have failed:\n${output}")
  elseif(NOT ARG_EXPECT_FAIL AND NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${output}")
  endif()
  set(out "${output}" PARENT_SCOPE)
  message(STATUS "${what}: done")
endfunction()

set(prefix ${KF_WORK_DIR}/prefix)
file(REMOVE_RECURSE ${KF_WORK_DIR})

run("installing the build tree"
  COMMAND ${CMAKE_COMMAND} --install ${KF_BUILD_DIR} --prefix ${prefix} --config ${KF_BUILD_TYPE})

# Only the scratch prefix may provide the package: no registry, no system-wide copy; the same
# compiler and flags as this build.
set(configure_args -G ${KF_GENERATOR}
  -DCMAKE_BUILD_TYPE=${KF_BUILD_TYPE}
  -DCMAKE_CXX_COMPILER=${KF_CXX_COMPILER}
  -DCMAKE_CXX_COMPILER_LAUNCHER=${KF_CXX_COMPILER_LAUNCHER}
  "-DCMAKE_CXX_FLAGS=${KF_CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${KF_EXE_LINKER_FLAGS}"
  "-DCMAKE_MODULE_LINKER_FLAGS=${KF_MODULE_LINKER_FLAGS}"
  -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
  -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF
  -DKF_EXPECTED_PREFIX=${prefix})

# 1. A plain program that links the framework (and the host's library).
run("configuring the consumer"
  COMMAND ${CMAKE_COMMAND} -S ${KF_HERE}/consumer -B ${KF_WORK_DIR}/consumer ${configure_args})
run("building the consumer" COMMAND ${CMAKE_COMMAND} --build ${KF_WORK_DIR}/consumer)
run("running the consumer" COMMAND ${KF_WORK_DIR}/consumer/kf_consumer)

# 2. A new add-on from the installed template, as it stands: configure, build, test.
set(hello ${KF_WORK_DIR}/Hello)
run("writing an add-on from the template"
  COMMAND ${CMAKE_COMMAND} -DNAME=Hello -DDIR=${hello} -P ${prefix}/share/kf/kit/new-addon.cmake)
run("configuring the new add-on"
  COMMAND ${CMAKE_COMMAND} -S ${hello} -B ${hello}/build ${configure_args})
run("building the new add-on" COMMAND ${CMAKE_COMMAND} --build ${hello}/build)
run("testing the new add-on" COMMAND ${CMAKE_CTEST_COMMAND} --test-dir ${hello}/build --output-on-failure)
if(NOT out MATCHES "Hello\\.first_run [.]+ +Passed")
  message(FATAL_ERROR "the template's test did not run:\n${out}")
endif()
# Its dialogs show the framework's texts from the pack, never the marker of a missing string.
file(READ ${hello}/build/kf_addon_tests/Hello_first_run/transcript.txt transcript)
if(NOT transcript MATCHES "dialog 32734" OR transcript MATCHES "_ERR_")
  message(FATAL_ERROR "the language dialog is missing or shows a missing string:\n${transcript}")
endif()

# 3. A broken resource file fails the build, pointing at the source file, not at its copy.
set(strings ${hello}/resources/strings/1-int.res)
file(READ ${strings} text)
string(REPLACE "  2  \"Hello from Hello.\"" "  2  \"Hello from Hello." broken "${text}")
if(broken STREQUAL text)
  message(FATAL_ERROR "the template's English greeting is not where this test breaks it")
endif()
file(WRITE ${strings} "${broken}")
run("building with a broken resource file" EXPECT_FAIL COMMAND ${CMAKE_COMMAND} --build ${hello}/build)
string(FIND "${out}" "${strings}:4:6: error: unterminated string" at)
if(at EQUAL -1)
  message(FATAL_ERROR "the build did not name ${strings}:4:6:\n${out}")
endif()

# 4. One of the project's examples, built against the package alone and played by its script.
run("configuring an example"
  COMMAND ${CMAKE_COMMAND} -S ${KF_HERE}/example -B ${KF_WORK_DIR}/example ${configure_args}
    -DKF_EXAMPLE_DIR=${KF_SOURCE_DIR}/examples/OrvellaInteriors)
run("building the example" COMMAND ${CMAKE_COMMAND} --build ${KF_WORK_DIR}/example)
run("playing the example's script"
  COMMAND ${CMAKE_COMMAND} -DKFHOST=${prefix}/bin/kfhost
    -DBUNDLE=${KF_WORK_DIR}/example/addons/OrvellaInteriors.bundle -DRUN=missing
    -DWORK=${KF_WORK_DIR}/example-run -P ${KF_SOURCE_DIR}/examples/OrvellaInteriors/scripts/run.cmake)
