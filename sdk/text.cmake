target_sources(kf_sdk PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/src/HostUniString.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/BM.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/HostTextEncoding.cpp)
