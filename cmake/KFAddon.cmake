# kf_add_addon(NAME <Name> SOURCES <files...> RESOURCES <dirs...> [CONSTANTS <file>]
#              [LINK <targets...>] [OUTPUT_DIR <dir>] [SDK_ONLY])
#
# Builds a framework add-on into <OUTPUT_DIR>/<Name>.bundle/ (default ${CMAKE_BINARY_DIR}/addons):
# the shared library <Name>.so, with the sdk's exported entry-point wrappers linked in whole, and
# the resource folders' contents copied, in the order given, to <Name>.bundle/Resources/.
# CONSTANTS is the file that defines the add-on's per-add-on constants (KF_DEFINE_ADDON_CONSTANTS);
# it is simply compiled with the rest. SDK_ONLY links the sdk without the framework.
function(kf_add_addon)
  cmake_parse_arguments(ARG "SDK_ONLY" "NAME;CONSTANTS;OUTPUT_DIR" "SOURCES;RESOURCES;LINK" ${ARGN})
  if(NOT ARG_NAME)
    message(FATAL_ERROR "kf_add_addon: NAME is required")
  endif()
  if(NOT ARG_SOURCES)
    message(FATAL_ERROR "kf_add_addon(${ARG_NAME}): SOURCES is required")
  endif()
  if(NOT ARG_OUTPUT_DIR)
    set(ARG_OUTPUT_DIR ${CMAKE_BINARY_DIR}/addons)
  endif()
  set(bundle ${ARG_OUTPUT_DIR}/${ARG_NAME}.bundle)

  add_library(${ARG_NAME} MODULE ${ARG_SOURCES} ${ARG_CONSTANTS})
  if(ARG_SDK_ONLY)
    target_link_libraries(${ARG_NAME} PRIVATE kf_sdk_linkage KF::sdk ${ARG_LINK})
  else()
    target_link_libraries(${ARG_NAME} PRIVATE kf_sdk_linkage KF::framework KF::sdk ${ARG_LINK})
  endif()
  set_target_properties(${ARG_NAME} PROPERTIES
    PREFIX ""
    SUFFIX ".so"
    OUTPUT_NAME ${ARG_NAME}
    LIBRARY_OUTPUT_DIRECTORY ${bundle}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  # Undefined symbols are errors at link time, not at dlopen time.
  target_link_options(${ARG_NAME} PRIVATE LINKER:--no-undefined)
  # No "unique" global symbols: one would keep the bundle mapped after dlclose (static objects
  # must be destroyed at unload). Static libraries linked in need the same flag.
  target_compile_options(${ARG_NAME} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  if(COMMAND kf_set_warnings)
    kf_set_warnings(${ARG_NAME})
  endif()

  if(ARG_RESOURCES)
    set(resource_files)
    set(copy_commands)
    foreach(dir IN LISTS ARG_RESOURCES)
      get_filename_component(dir ${dir} ABSOLUTE)
      file(GLOB_RECURSE files CONFIGURE_DEPENDS ${dir}/*)
      list(APPEND resource_files ${files})
      list(APPEND copy_commands COMMAND ${CMAKE_COMMAND} -E copy_directory ${dir} ${bundle}/Resources)
    endforeach()
    set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME}_resources.stamp)
    add_custom_command(OUTPUT ${stamp}
      COMMAND ${CMAKE_COMMAND} -E rm -rf ${bundle}/Resources
      ${copy_commands}
      COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
      DEPENDS ${resource_files}
      COMMENT "Copying the resources of ${ARG_NAME}.bundle"
      VERBATIM)
    add_custom_target(${ARG_NAME}_resources DEPENDS ${stamp})
    add_dependencies(${ARG_NAME} ${ARG_NAME}_resources)
  endif()
  set_property(TARGET ${ARG_NAME} PROPERTY KF_BUNDLE_DIR ${bundle})
endfunction()
