# Library parts, libraries and the general host utilities, through the in-process host.
add_executable(test_libs_general
  libs_parts_test.cpp
  libs_libraries_test.cpp
  libs_catalog_test.cpp
  general_host_test.cpp
  general_launch_test.cpp)
target_include_directories(test_libs_general PRIVATE ${PROJECT_SOURCE_DIR}/host/src/project)
target_link_libraries(test_libs_general PRIVATE KF::framework kf_test_support GTest::gtest_main)
kf_set_warnings(test_libs_general)
kf_add_gtest(test_libs_general)

# The example add-on Orvella Interiors, driven by scripts through kfhost.
get_property(_interiors_bundle TARGET OrvellaInteriors PROPERTY KF_BUNDLE_DIR)
foreach(run suite asked missing)
  kf_add_test(NAME host_utils.libs_example_${run}
    COMMAND ${CMAKE_COMMAND} -DKFHOST=$<TARGET_FILE:kfhost> -DBUNDLE=${_interiors_bundle} -DRUN=${run}
            -DWORK=${CMAKE_CURRENT_BINARY_DIR}/libparts_${run}
            -P ${PROJECT_SOURCE_DIR}/examples/OrvellaInteriors/scripts/run.cmake)
endforeach()
