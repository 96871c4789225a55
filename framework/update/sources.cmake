# Update checking: versions file, download on the host's run loop, check, results dialog.
target_sources(kf_framework PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/KF_VersionsLine.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_VersionsParse.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_VersionsFile.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_VersionsCompare.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_URLEscape.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_CurlRunLoop.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_URLDownload.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_UpdateAddresses.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_AddonUpdate.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_AddonUpdateMenu.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_AddonUpdateDialog.cpp)
