# Writes a new add-on project from the template beside this file:
#   cmake -DNAME=<Name> [-DDIR=<folder>] [-DPREFIX=<the package's prefix>] [-DDATE=DD/MM/YYYY] -P new-addon.cmake
# NAME becomes the bundle's, the CMake target's and the add-on's displayed name; DIR (default
# ./<Name>) must not exist or be empty. The project builds against the installed package, whose
# prefix its README names: PREFIX, or the package this file was installed with.
if(NOT DEFINED NAME OR NOT NAME MATCHES "^[A-Za-z][A-Za-z0-9_]*$")
  message(FATAL_ERROR "new-addon: NAME must be a letter followed by letters, digits or _ (got \"${NAME}\")")
endif()
# The private settings file is <Name>_10 in a field of 32 bytes.
string(LENGTH "${NAME}" length)
if(length GREATER 28)
  message(FATAL_ERROR "new-addon: NAME may have at most 28 characters")
endif()
if(NOT DEFINED DIR OR DIR STREQUAL "")
  set(DIR ${NAME})
endif()
get_filename_component(DIR "${DIR}" ABSOLUTE BASE_DIR "$ENV{PWD}")
file(GLOB present LIST_DIRECTORIES true "${DIR}/*")
if(present)
  message(FATAL_ERROR "new-addon: ${DIR} is not empty")
endif()

# The add-on's own module id: derived from the name, so that two add-ons of the maker differ.
string(SHA1 digest "${NAME}")
string(SUBSTRING "${digest}" 0 8 MODULE_LOCAL_ID)
string(TOUPPER "${MODULE_LOCAL_ID}" MODULE_LOCAL_ID)
set(MODULE_LOCAL_ID "0x${MODULE_LOCAL_ID}")

# The package's prefix, for commands that work as they are written.
if(NOT DEFINED PREFIX OR PREFIX STREQUAL "")
  get_filename_component(PREFIX "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
  if(NOT EXISTS "${PREFIX}/bin/kfhost")
    set(PREFIX "<the KF package's prefix>")
  endif()
endif()

# Its versions-file line: the name in capitals as its code, release 1.0.0.0 of today (or DATE).
string(TOUPPER "${NAME}" code)
if(NOT DATE)
  string(TIMESTAMP DATE "%d/%m/%Y")
endif()
set(VERSION_LINE "${code} 1.0.0.0 (HV170) ${DATE}")

set(template ${CMAKE_CURRENT_LIST_DIR}/template)
file(GLOB_RECURSE files RELATIVE ${template} ${template}/*)
# The repository's format settings of the template are not the new project's.
list(FILTER files EXCLUDE REGEX "(^|/)\\.clang-format$")
foreach(file IN LISTS files)
  configure_file(${template}/${file} ${DIR}/${file} @ONLY)
endforeach()
message(STATUS "new-addon: wrote ${NAME} to ${DIR}")
