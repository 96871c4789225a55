# Everything the host serves, forwarded through the host table.
target_sources(kf_sdk PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/src/HostAPI.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/AppText.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/DG.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/FTM.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/HostLink.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/IO.cpp
  ${CMAKE_CURRENT_LIST_DIR}/src/MainLoop.cpp)
target_link_libraries(kf_sdk PRIVATE ICU::uc)
# A "unique" global symbol (GCC's default for some inline variables of the standard library) makes
# the dynamic loader keep a bundle mapped after dlclose, so its statics would outlive unloading.
target_compile_options(kf_sdk PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)

# The exported entry-point wrappers. An object library, so that every bundle gets them whether or
# not anything refers to them (a static library would let the linker drop them).
add_library(kf_sdk_linkage OBJECT ${CMAKE_CURRENT_LIST_DIR}/src/AddOnLinkage.cpp)
add_library(KF::sdk_linkage ALIAS kf_sdk_linkage)
target_link_libraries(kf_sdk_linkage PUBLIC kf_sdk)
kf_set_warnings(kf_sdk_linkage)
target_compile_options(kf_sdk_linkage PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
