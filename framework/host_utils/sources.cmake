# Host utilities: add-on communication and dialog helpers; library parts and general utilities.
include(${CMAKE_CURRENT_LIST_DIR}/comm_dialog.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/libs_general.cmake)
