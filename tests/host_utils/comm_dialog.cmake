# Communication files between add-ons and the dialog helpers.
add_executable(test_comm_dialog
  ${CMAKE_CURRENT_LIST_DIR}/comm_files_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dialog_helpers_test.cpp)
target_link_libraries(test_comm_dialog PRIVATE KF::framework kf_test_support GTest::gtest_main)
kf_set_warnings(test_comm_dialog)
kf_add_gtest(test_comm_dialog SLOW "Comm\\.TwoProcessesWritingAtOnceNeverLeaveAHalfFile")
