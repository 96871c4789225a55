target_sources(kf_framework PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/KF_LibPart.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_Library.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_General_LibPart.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_General_Project.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_General_Rendering.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_General_Launch.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_General_Open.cpp)
