# Install rules and the CMake package: `find_package(KFFramework)` gives KF::sdk, KF::framework
# and, when the host was built, KF::host, all static.
include(CMakePackageConfigHelpers)

set(KF_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/KFFramework)

# The include paths match the INSTALL_INTERFACE directories of the targets.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/sdk/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kf/sdk
  FILES_MATCHING PATTERN "*.hpp" PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/framework/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kf/framework
  FILES_MATCHING PATTERN "*.hpp" PATTERN "*.h")

set(_kf_package_targets kf_sdk kf_framework)
set(_kf_host_targets)
if(TARGET kfhost_core)
  set_target_properties(kfhost_core PROPERTIES EXPORT_NAME host)
  list(APPEND _kf_host_targets kfhost_core)
  if(EXISTS ${PROJECT_SOURCE_DIR}/host/include)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/include/
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kf/host
      FILES_MATCHING PATTERN "*.hpp" PATTERN "*.h")
  endif()
endif()

# A static library's in-project dependencies (helper libraries of the host, say) must be in the
# same export set, or the export cannot be generated: collect them.
function(_kf_project_dependencies out)
  set(seen ${ARGN})
  set(queue ${ARGN})
  while(queue)
    list(POP_FRONT queue target)
    foreach(prop LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
      get_target_property(libs ${target} ${prop})
      if(NOT libs)
        continue()
      endif()
      foreach(lib IN LISTS libs)
        if(lib MATCHES "^\\$<LINK_ONLY:([^>]+)>$")
          set(lib ${CMAKE_MATCH_1})
        endif()
        if(lib MATCHES "\\$<" OR NOT TARGET "${lib}")
          continue()
        endif()
        get_target_property(aliased ${lib} ALIASED_TARGET)
        if(aliased)
          set(lib ${aliased})
        endif()
        get_target_property(imported ${lib} IMPORTED)
        get_target_property(type ${lib} TYPE)
        if(NOT imported AND type MATCHES "^(STATIC|INTERFACE|OBJECT)_LIBRARY$" AND NOT lib IN_LIST seen)
          list(APPEND seen ${lib})
          list(APPEND queue ${lib})
        endif()
      endforeach()
    endforeach()
  endwhile()
  set(${out} ${seen} PARENT_SCOPE)
endfunction()

_kf_project_dependencies(_kf_framework_side ${_kf_package_targets})
_kf_project_dependencies(_kf_export_targets ${_kf_framework_side} ${_kf_host_targets})

install(TARGETS ${_kf_export_targets}
  EXPORT KFFrameworkTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  OBJECTS DESTINATION ${CMAKE_INSTALL_LIBDIR}/kf-objects)
install(EXPORT KFFrameworkTargets
  NAMESPACE KF::
  FILE KFFrameworkTargets.cmake
  DESTINATION ${KF_INSTALL_CMAKEDIR})

# A static library hands its private dependencies on to whoever links it, so the package must
# find them again. The calls are derived from what the targets link, so that a dependency added
# later cannot be forgotten here.
function(_kf_dependency_calls out)
  set(libs)
  foreach(target IN LISTS ARGN)
    foreach(prop LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
      get_target_property(value ${target} ${prop})
      if(value)
        list(APPEND libs ${value})
      endif()
    endforeach()
  endforeach()
  string(REGEX MATCHALL "[A-Za-z0-9_]+::[A-Za-z0-9_]+" names "${libs}")
  list(REMOVE_DUPLICATES names)
  set(qt_components)
  set(calls)
  foreach(name IN LISTS names)
    if(TARGET ${name})
      get_target_property(imported ${name} IMPORTED)
      if(NOT imported)
        continue()  # built here, exported with the rest
      endif()
    endif()
    if(name MATCHES "^ICU::")
      list(APPEND calls "ICU COMPONENTS uc i18n data")
    elseif(name MATCHES "^CURL::")
      list(APPEND calls "CURL")
    elseif(name MATCHES "^Threads::")
      list(APPEND calls "Threads")
    elseif(name MATCHES "^Qt6::(.+)$")
      list(APPEND qt_components ${CMAKE_MATCH_1})
    elseif(name MATCHES "^CLI11::")
      list(APPEND calls "CLI11")
    elseif(name MATCHES "^httplib::")
      list(APPEND calls "httplib")
    else()
      message(WARNING "KFInstall: no find_dependency() known for ${name}; "
        "the installed KFFramework package will lack it")
    endif()
  endforeach()
  if(qt_components)
    list(REMOVE_DUPLICATES qt_components)
    list(JOIN qt_components " " qt_components)
    list(APPEND calls "Qt6 COMPONENTS ${qt_components}")
  endif()
  list(REMOVE_DUPLICATES calls)
  set(${out} ${calls} PARENT_SCOPE)
endfunction()

_kf_dependency_calls(_kf_framework_deps ${_kf_framework_side})
set(KF_FRAMEWORK_DEPENDENCIES)
foreach(call IN LISTS _kf_framework_deps)
  string(APPEND KF_FRAMEWORK_DEPENDENCIES "find_dependency(${call})\n")
endforeach()

# The host's own dependencies (Qt, ...) are looked for quietly: a consumer that only links
# KF::framework must not need them; one that asks for COMPONENTS host gets a clear failure.
set(KF_HOST_DEPENDENCIES)
if(_kf_host_targets)
  set(_kf_host_side ${_kf_export_targets})
  list(REMOVE_ITEM _kf_host_side ${_kf_framework_side})
  _kf_dependency_calls(_kf_host_deps ${_kf_host_side})
  if(_kf_framework_deps)
    list(REMOVE_ITEM _kf_host_deps ${_kf_framework_deps})
  endif()
  foreach(call IN LISTS _kf_host_deps)
    string(REGEX MATCH "^[A-Za-z0-9_]+" pkg "${call}")
    string(APPEND KF_HOST_DEPENDENCIES
      "find_package(${call} QUIET)\nif(NOT ${pkg}_FOUND)\n  set(KFFramework_host_FOUND FALSE)\nendif()\n")
  endforeach()
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KFFrameworkConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KFFrameworkConfig.cmake
  INSTALL_DESTINATION ${KF_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KFFrameworkConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/KFFrameworkConfig.cmake
  ${PROJECT_BINARY_DIR}/KFFrameworkConfigVersion.cmake
  DESTINATION ${KF_INSTALL_CMAKEDIR})
