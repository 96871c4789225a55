target_sources(kf_framework PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/KF_Location.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_LocationList.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_File.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_FileReplace.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_FileText.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_WriterTag.cpp)
