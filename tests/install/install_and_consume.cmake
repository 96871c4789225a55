# cmake -P script behind the install.package_consumer test (arguments: see CMakeLists.txt).

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}")
  endif()
endfunction()

set(prefix ${KF_WORK_DIR}/prefix)
set(consumer_build ${KF_WORK_DIR}/consumer)
file(REMOVE_RECURSE ${KF_WORK_DIR})

run("installing the build tree" ${CMAKE_COMMAND} --install ${KF_BUILD_DIR} --prefix ${prefix}
  --config ${KF_BUILD_TYPE})

# Headers where the targets' INSTALL_INTERFACE include paths point.
foreach(header kf/framework/KF_Framework.hpp kf/framework/KF/KF_String.hpp kf/sdk/GSRoot.hpp)
  if(NOT EXISTS ${prefix}/include/${header})
    message(FATAL_ERROR "not installed: include/${header}")
  endif()
endforeach()

# Only the scratch prefix may provide the package: no registry, no system-wide copy.
run("configuring the consumer" ${CMAKE_COMMAND}
  -S ${KF_CONSUMER_SOURCE} -B ${consumer_build} -G ${KF_GENERATOR}
  -DCMAKE_BUILD_TYPE=${KF_BUILD_TYPE}
  -DCMAKE_CXX_COMPILER=${KF_CXX_COMPILER}
  -DCMAKE_CXX_COMPILER_LAUNCHER=${KF_CXX_COMPILER_LAUNCHER}
  "-DCMAKE_CXX_FLAGS=${KF_CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${KF_EXE_LINKER_FLAGS}"
  -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
  -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF
  -DKF_EXPECTED_PREFIX=${prefix})
run("building the consumer" ${CMAKE_COMMAND} --build ${consumer_build})
execute_process(COMMAND ${consumer_build}/kf_consumer RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the consumer failed (${rc})")
endif()
message(STATUS "the consumer built and ran against ${prefix}")
