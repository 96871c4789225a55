target_sources(kf_framework PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/KF_Comm.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_CommMDID.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_CommMessage.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_Dialog.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_DialogOpenFile.cpp)
