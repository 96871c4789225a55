# Install rules and the CMake package. `find_package(KFFramework)` gives KF::sdk and
# KF::framework (static); with the host built, also the add-on kit: KF::addon (the exported
# entry-point wrappers), KF::host (the host as a library), the programs KF::kfhost and
# KF::kfresources, kf_add_addon(), kf_add_addon_test() and kf_add_addon_validate(), the kit's
# headers, the framework's resource pack and the template of a new add-on. The target
# kf_install_set builds what is installed and nothing more (`./kf install`).
include(CMakePackageConfigHelpers)

set(KF_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/KFFramework)
set(KF_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/kf)

# The include paths match the INSTALL_INTERFACE directories of the targets.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/sdk/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kf/sdk
  FILES_MATCHING PATTERN "*.hpp" PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/framework/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kf/framework
  FILES_MATCHING PATTERN "*.hpp" PATTERN "*.h")

set_target_properties(kf_sdk_linkage PROPERTIES EXPORT_NAME addon)
set(_kf_export_targets kf_sdk kf_framework kf_sdk_linkage)
if(KF_BUILD_HOST)
  set_target_properties(kfhost_core PROPERTIES EXPORT_NAME host)
  list(APPEND _kf_export_targets kfhost_core kfhost kfresources)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kf/host
    FILES_MATCHING PATTERN "*.hpp" PATTERN "*.h")
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/framework/resources/
    DESTINATION ${KF_INSTALL_DATADIR}/resources)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/kit/
    DESTINATION ${KF_INSTALL_DATADIR}/kit
    PATTERN .clang-format EXCLUDE
    PATTERN include EXCLUDE)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/kit/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kf/kit)
  # The CMake helpers that come with the kit, each named once.
  install(FILES
    ${PROJECT_SOURCE_DIR}/cmake/KFWarnings.cmake
    ${PROJECT_SOURCE_DIR}/cmake/KFAddOn.cmake
    ${PROJECT_SOURCE_DIR}/cmake/KFAddOnConstantsCheck.cmake
    ${PROJECT_SOURCE_DIR}/cmake/KFAddOnTestRun.cmake
    ${PROJECT_SOURCE_DIR}/cmake/KFAddOnValidate.cmake
    DESTINATION ${KF_INSTALL_CMAKEDIR})
endif()

add_custom_target(kf_install_set)
add_dependencies(kf_install_set ${_kf_export_targets})

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

set(KF_INSTALL_KIT_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/kf/kit)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KFFrameworkConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KFFrameworkConfig.cmake
  INSTALL_DESTINATION ${KF_INSTALL_CMAKEDIR}
  PATH_VARS KF_INSTALL_DATADIR KF_INSTALL_KIT_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KFFrameworkConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/KFFrameworkConfig.cmake
  ${PROJECT_BINARY_DIR}/KFFrameworkConfigVersion.cmake
  DESTINATION ${KF_INSTALL_CMAKEDIR})
