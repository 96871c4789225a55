# cmake -P script behind the install.kit test (arguments: see CMakeLists.txt). It plays what a new
# add-on developer does: install the package, write an add-on with ./kf new, build, test and
# validate it with the commands ./kf new prints, then break it on purpose, one mistake at a time,
# and see each mistake named once, where it was made.

# Runs a command; EXPECT_FAIL turns it around. The output is kept in `out` of the caller, the
# seconds it took in `seconds`.
function(run what)
  cmake_parse_arguments(ARG "EXPECT_FAIL" "" "COMMAND" ${ARGN})
  string(TIMESTAMP start "%s")
  execute_process(COMMAND ${ARG_COMMAND} RESULT_VARIABLE rc OUTPUT_VARIABLE output ERROR_VARIABLE output)
  string(TIMESTAMP end "%s")
  math(EXPR took "${end} - ${start}")
  if(ARG_EXPECT_FAIL AND rc EQUAL 0)
    message(FATAL_ERROR "${what} succeeded, but should have failed:\n${output}")
  elseif(NOT ARG_EXPECT_FAIL AND NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${output}")
  endif()
  set(out "${output}" PARENT_SCOPE)
  set(seconds ${took} PARENT_SCOPE)
  message(STATUS "${what}: done in ${took} s")
endfunction()

# Fails unless text holds needle (a plain string).
function(expect_in text needle what)
  string(FIND "${text}" "${needle}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${what}: \"${needle}\" is missing:\n${text}")
  endif()
endfunction()

# Counts the matches of regex in text.
function(count_matches text regex into)
  string(REGEX MATCHALL "${regex}" found "${text}")
  list(LENGTH found n)
  set(${into} ${n} PARENT_SCOPE)
endfunction()

set(prefix ${KF_WORK_DIR}/prefix)
file(REMOVE_RECURSE ${KF_WORK_DIR})

run("installing the build tree"
  COMMAND ${CMAKE_COMMAND} --install ${KF_BUILD_DIR} --prefix ${prefix} --config ${KF_BUILD_TYPE})
foreach(file lib/cmake/KFFramework/KFAddOnValidate.cmake include/kf/kit/KFKit/VersionLine.hpp bin/kfhost)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "the package lacks ${file}")
  endif()
endforeach()

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

# 2. A new add-on, written by ./kf new and built, tested and validated with the very commands it
#    prints (the compiler and its flags come from the environment, as CMake reads them).
set(hello ${KF_WORK_DIR}/Hello)
run("writing an add-on with ./kf new" COMMAND ${KF_SOURCE_DIR}/kf new Hello ${hello} --prefix ${prefix})
expect_in("${out}" "-DCMAKE_PREFIX_PATH=${prefix}" "./kf new's commands")
string(REGEX MATCHALL "\n  cmake [^\n]*" commands "\n${out}")
list(LENGTH commands count)
if(NOT count EQUAL 2)
  message(FATAL_ERROR "./kf new printed ${count} cmake lines, not 2:\n${out}")
endif()
string(REPLACE ";" "\n" commands "${commands}")
set(environment CXX=${KF_CXX_COMPILER} "CXXFLAGS=${KF_CXX_FLAGS}" "LDFLAGS=${KF_MODULE_LINKER_FLAGS}"
  CMAKE_GENERATOR=${KF_GENERATOR} CMAKE_BUILD_TYPE=${KF_BUILD_TYPE}
  CMAKE_CXX_COMPILER_LAUNCHER=${KF_CXX_COMPILER_LAUNCHER})
run("building, testing and validating it as printed"
  COMMAND ${CMAKE_COMMAND} -E env ${environment} bash -e -c "${commands}")
if(NOT out MATCHES "Hello\\.first_run [.]+ +Passed" OR NOT out MATCHES "Hello\\.validate [.]+ +Passed")
  message(FATAL_ERROR "the template's tests did not both pass:\n${out}")
endif()
# Its dialogs show the framework's texts from the pack, never the marker of a missing string.
file(READ ${hello}/build/kf_addon_tests/Hello_first_run/transcript.txt transcript)
if(NOT transcript MATCHES "dialog 32734" OR transcript MATCHES "_ERR_")
  message(FATAL_ERROR "the language dialog is missing or shows a missing string:\n${transcript}")
endif()
# What the framework says in every add-on holds for every add-on: no other add-on's name, no button
# of a dialog this one does not have.
if(transcript MATCHES "Orvella|Language button")
  message(FATAL_ERROR "the framework's texts speak of another add-on:\n${transcript}")
endif()

# The untouched template has nothing to warn about: not the framework's own texts, not a word that
# reads the same in two languages.
run("validating the template as written"
  COMMAND ${prefix}/bin/kfhost validate --strictness 10 --seed 1 ${hello}/build/addons/Hello.bundle)
if(out MATCHES "warning:")
  message(FATAL_ERROR "the untouched template has warnings:\n${out}")
endif()

set(build_hello ${CMAKE_COMMAND} --build ${hello}/build)
set(test_hello ${CMAKE_CTEST_COMMAND} --test-dir ${hello}/build --output-on-failure)

# Breaks a file of the add-on: replaces `from` with `to` in it (once; the text must be there).
function(break_file file from to)
  file(READ ${file} text)
  string(FIND "${text}" "${from}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${file} lacks \"${from}\", where this test breaks it")
  endif()
  string(REPLACE "${from}" "${to}" broken "${text}")
  file(WRITE ${file} "${broken}")
endfunction()
# Puts every file of the add-on's sources back as ./kf new wrote them, written anew so that the build
# sees them change.
function(mend)
  file(GLOB_RECURSE kept RELATIVE ${KF_WORK_DIR}/Hello-as-written ${KF_WORK_DIR}/Hello-as-written/*)
  foreach(file IN LISTS kept)
    file(READ ${KF_WORK_DIR}/Hello-as-written/${file} was)
    file(READ ${hello}/${file} now)
    if(NOT was STREQUAL now)
      file(WRITE ${hello}/${file} "${was}")
    endif()
  endforeach()
endfunction()
file(COPY ${hello}/src ${hello}/resources ${hello}/tests ${hello}/CMakeLists.txt
  DESTINATION ${KF_WORK_DIR}/Hello-as-written)

# 3. An exception that leaves a menu handler: the script test plays it with --strict, and the
#    validator names it once, with the call it escaped from.
set(handlers ${hello}/src/MenuHandlers.cpp)
break_file(${handlers} "#include \"KF/KF_Language.hpp\"" "#include \"KF/KF_Language.hpp\"\n#include <stdexcept>")
break_file(${handlers} "        AddOn_ShowMainDialog();" "        throw std::runtime_error(\"thrown on purpose\");")
run("building with an exception in a handler" COMMAND ${build_hello})
run("listing its tests" COMMAND ${CMAKE_CTEST_COMMAND} --test-dir ${hello}/build --show-only=json-v1)
expect_in("${out}" "\"-DARGS=--strict\"" "kf_add_addon_test's command")
run("testing it" EXPECT_FAIL COMMAND ${test_hello})
count_matches("${out}" "exception from \"Hello\" in [^\n]*thrown on purpose, during menu 32501 item 1" found)
if(NOT found EQUAL 1)
  message(FATAL_ERROR "the validator named the exception ${found} times, not once:\n${out}")
endif()
mend()

# 4. A version line the update check cannot read fails the build, naming the constant and the form.
break_file(${hello}/src/AddOnConstants.cpp "1.0.0.0 (HV170)" "1.0.0")
run("building with a malformed version line" EXPECT_FAIL COMMAND ${build_hello})
expect_in("${out}" "kAddOn_VersionLine must be of the form \"CODE a.b.c.d (HVn) DD/MM/YYYY\"" "the build's error")
expect_in("${out}" "src/AddOnConstants.cpp" "the build's error")
mend()

# 5. A string missing in Japanese fails the build, naming the file and the index.
set(japanese ${hello}/resources/strings/5-jap.res)
break_file(${japanese} "  2  \"" "# 2 left out: \"")
run("building without a Japanese string" EXPECT_FAIL COMMAND ${build_hello})
# Line 2 opens the list.
expect_in("${out}" "${japanese}:2: error: string list 32535 (jap) lacks index 2, which 32531 (int) has"
  "the build's error")
mend()

# 6. A broken resource file fails the build, pointing at the source file, not at its copy.
set(strings ${hello}/resources/strings/1-int.res)
break_file(${strings} "  2  \"Hello from Hello.\"" "  2  \"Hello from Hello.")
run("building with a broken resource file" EXPECT_FAIL COMMAND ${build_hello})
expect_in("${out}" "${strings}:4:6: error: unterminated string" "the build's error")
mend()

# 7. The constants left out: the build says which macro is missing before any link error.
file(WRITE ${hello}/src/AddOnConstants.cpp "// The constants are missing here.\n")
run("building without the constants" EXPECT_FAIL COMMAND ${build_hello})
expect_in("${out}" "${hello}/src/AddOnConstants.cpp:1: error: kf_add_addon(Hello): no source file defines the add-on's constants: write KF_DEFINE_ADDON_CONSTANTS("
  "the build's error")
if(out MATCHES "undefined reference")
  message(FATAL_ERROR "the linker ran although the constants are missing:\n${out}")
endif()
mend()

# 8. A handler that never returns: validated in seconds, with one finding, the rest of the add-on
#    checked all the same.
break_file(${handlers} "#include \"KF/KF_Language.hpp\"" "#include \"KF/KF_Language.hpp\"\n#include <thread>")
break_file(${handlers} "        AddOn_ShowMainDialog();"
  "        for (;;)\n            std::this_thread::sleep_for(std::chrono::seconds(1));")
run("building with a handler that hangs" COMMAND ${build_hello})
run("validating it" EXPECT_FAIL
  COMMAND ${prefix}/bin/kfhost validate --strictness 10 --seed 1 ${hello}/build/addons/Hello.bundle)
count_matches("${out}" "did not finish within" hangs)
count_matches("${out}" "\n  FAIL " fails)
if(NOT hangs EQUAL 1 OR NOT fails EQUAL 1 OR NOT out MATCHES "did not finish within 5 s: it hangs in \"Hello\" during menu 32501 item 1")
  message(FATAL_ERROR "the hang was not found exactly once:\n${out}")
endif()
message(STATUS "the hang was validated in ${seconds} s")
mend()
run("building it mended" COMMAND ${build_hello})

# 9. One of the project's examples, built against the package alone and played by its script.
run("configuring an example"
  COMMAND ${CMAKE_COMMAND} -S ${KF_HERE}/example -B ${KF_WORK_DIR}/example ${configure_args}
    -DKF_EXAMPLE_DIR=${KF_SOURCE_DIR}/examples/OrvellaInteriors)
run("building the example" COMMAND ${CMAKE_COMMAND} --build ${KF_WORK_DIR}/example)
run("playing the example's script"
  COMMAND ${CMAKE_COMMAND} -DKFHOST=${prefix}/bin/kfhost
    -DBUNDLE=${KF_WORK_DIR}/example/addons/OrvellaInteriors.bundle -DRUN=missing
    -DWORK=${KF_WORK_DIR}/example-run -P ${KF_SOURCE_DIR}/examples/OrvellaInteriors/scripts/run.cmake)
