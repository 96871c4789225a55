target_sources(kf_sdk PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/src/GSUniString.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/BM.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/GSTextEncoding.cpp)
