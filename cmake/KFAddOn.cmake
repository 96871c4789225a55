# kf_add_addon(NAME <Name> SOURCES <files...> [RESOURCES <dirs...>] [CONSTANTS <file>]
#              [LINK <targets...>] [OUTPUT_DIR <dir>] [SDK_ONLY])
#
# Builds a framework add-on into <OUTPUT_DIR>/<Name>.bundle/ (default ${CMAKE_BINARY_DIR}/addons):
# the shared library <Name>.so, with the exported entry-point wrappers (KF::addon) linked in
# whole, and the resource folders' contents, in the order given, in <Name>.bundle/Resources/.
# Every resource file is checked while the bundle is built: a mistake fails the build with the
# source file's path, line and column. The framework's own texts (string lists 32710 + language,
# the language and update dialogs, the flags) are added unless the add-on defines the same list,
# dialog or icon itself. CONSTANTS is the file that defines the add-on's per-add-on constants
# (KF_DEFINE_ADDON_CONSTANTS): when no object of the add-on defines them, the build fails before the
# link with a message that names the macro. The kit's headers (KFKit/VersionLine.hpp:
# KF_DEFINE_VERSION_LINE, a versions-file line checked at compile time) are on the include path.
# SDK_ONLY links the sdk without the framework and its texts.
#
# kf_add_addon_test(NAME <test> ADDON <targets...> SCRIPT <file.kfs> [NO_STRICT] [ARGS <kfhost args...>])
#
# A CTest that runs kfhost --strict on the script with the add-ons' bundles, in a fresh framework
# folder, and fails when kfhost does: a failed expectation, a bundle that cannot load, an exception
# that left an add-on, and what --strict adds (an alert never checked, a host warning...).
# NO_STRICT plays the script without --strict.
#
# Expects the targets KF::addon, KF::framework, KF::sdk, KF::kfhost and KF::kfresources, the
# function kf_set_warnings and the variable KF_FRAMEWORK_RESOURCES (the pack's folder): the
# installed package's config file and the project's own top-level file both provide them.
# KF_KIT_INCLUDE_DIR (the kit's headers) is set by the package; inside the project it is found
# beside this file.

if(NOT KF_KIT_INCLUDE_DIR)
  get_filename_component(KF_KIT_INCLUDE_DIR ${CMAKE_CURRENT_LIST_DIR}/../kit/include ABSOLUTE)
endif()

function(kf_add_addon)
  cmake_parse_arguments(ARG "SDK_ONLY" "NAME;CONSTANTS;OUTPUT_DIR" "SOURCES;RESOURCES;LINK" ${ARGN})
  if(NOT ARG_NAME)
    message(FATAL_ERROR "kf_add_addon: NAME is required")
  endif()
  if(NOT ARG_SOURCES)
    message(FATAL_ERROR "kf_add_addon(${ARG_NAME}): SOURCES is required")
  endif()
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kf_add_addon(${ARG_NAME}): unknown arguments ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT ARG_OUTPUT_DIR)
    set(ARG_OUTPUT_DIR ${CMAKE_BINARY_DIR}/addons)
  endif()
  set(bundle ${ARG_OUTPUT_DIR}/${ARG_NAME}.bundle)

  add_library(${ARG_NAME} MODULE ${ARG_SOURCES} ${ARG_CONSTANTS})
  if(ARG_SDK_ONLY)
    target_link_libraries(${ARG_NAME} PRIVATE KF::addon KF::sdk ${ARG_LINK})
  else()
    target_link_libraries(${ARG_NAME} PRIVATE KF::addon KF::framework KF::sdk ${ARG_LINK})
  endif()
  set_target_properties(${ARG_NAME} PROPERTIES
    PREFIX ""
    SUFFIX ".so"
    OUTPUT_NAME ${ARG_NAME}
    LIBRARY_OUTPUT_DIRECTORY ${bundle}
    # Add-ons are loaded side by side into one host: nothing but the entry symbol may leak.
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  # Undefined symbols are errors at link time, not at dlopen time.
  target_link_options(${ARG_NAME} PRIVATE LINKER:--no-undefined)
  # No "unique" global symbols: one would keep the bundle mapped after dlclose (static objects
  # must be destroyed at unload). The framework's static libraries are built with it too.
  target_compile_options(${ARG_NAME} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  target_include_directories(${ARG_NAME} PRIVATE ${KF_KIT_INCLUDE_DIR})
  kf_set_warnings(${ARG_NAME})
  if(ARG_CONSTANTS)
    get_filename_component(constants ${ARG_CONSTANTS} ABSOLUTE)
    set_property(TARGET ${ARG_NAME} PROPERTY KF_CONSTANTS_FILE ${constants})
  endif()
  # The framework's code that reads the add-on's constants would fail the link with one bare
  # undefined symbol per constant: the CONSTANTS file is checked before the link, and the message
  # names the macro.
  if(ARG_CONSTANTS AND NOT ARG_SDK_ONLY AND CMAKE_NM)
    add_custom_command(TARGET ${ARG_NAME} PRE_LINK
      COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DADDON=${ARG_NAME} -DCONSTANTS=${constants}
              "-DOBJECTS=$<TARGET_OBJECTS:${ARG_NAME}>"
              -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/KFAddOnConstantsCheck.cmake
      VERBATIM)
  endif()
  set(sources)
  foreach(dir IN LISTS ARG_RESOURCES)
    get_filename_component(dir ${dir} ABSOLUTE)
    list(APPEND sources ${dir})
  endforeach()
  set(pack)
  if(NOT ARG_SDK_ONLY)
    if(NOT KF_FRAMEWORK_RESOURCES)
      message(FATAL_ERROR "kf_add_addon(${ARG_NAME}): KF_FRAMEWORK_RESOURCES (the framework's resource pack) is not set")
    endif()
    set(pack --framework ${KF_FRAMEWORK_RESOURCES})
  endif()
  if(sources OR pack)
    # The tool lists every file and folder it read in the depfile, so that an edited, added or
    # removed resource file rebuilds the bundle's resources.
    set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME}_resources.stamp)
    add_custom_command(OUTPUT ${stamp}
      COMMAND KF::kfresources --out ${bundle}/Resources ${pack}
              --depfile ${stamp}.d --stamp ${stamp} ${sources}
      DEPFILE ${stamp}.d
      DEPENDS KF::kfresources
      COMMENT "Checking the resources of ${ARG_NAME}.bundle"
      VERBATIM)
    add_custom_target(${ARG_NAME}_resources DEPENDS ${stamp})
    add_dependencies(${ARG_NAME} ${ARG_NAME}_resources)
  endif()
  set_property(TARGET ${ARG_NAME} PROPERTY KF_BUNDLE_DIR ${bundle})
endfunction()

function(kf_add_addon_test)
  cmake_parse_arguments(ARG "NO_STRICT" "NAME;SCRIPT" "ADDON;ARGS" ${ARGN})
  if(NOT ARG_NAME OR NOT ARG_ADDON OR NOT ARG_SCRIPT)
    message(FATAL_ERROR "kf_add_addon_test: NAME, ADDON and SCRIPT are required")
  endif()
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kf_add_addon_test(${ARG_NAME}): unknown arguments ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  get_filename_component(script ${ARG_SCRIPT} ABSOLUTE)
  set(bundles)
  foreach(addon IN LISTS ARG_ADDON)
    list(APPEND bundles $<TARGET_PROPERTY:${addon},KF_BUNDLE_DIR>)
  endforeach()
  string(MAKE_C_IDENTIFIER ${ARG_NAME} work)
  set(args ${ARG_ARGS})
  if(NOT ARG_NO_STRICT)
    list(PREPEND args --strict)
  endif()
  add_test(NAME ${ARG_NAME}
    COMMAND ${CMAKE_COMMAND}
      -DKFHOST=$<TARGET_FILE:KF::kfhost>
      "-DBUNDLES=${bundles}"
      -DSCRIPT=${script}
      -DWORK=${CMAKE_CURRENT_BINARY_DIR}/kf_addon_tests/${work}
      "-DARGS=${args}"
      -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/KFAddOnTestRun.cmake)
  set_tests_properties(${ARG_NAME} PROPERTIES TIMEOUT 120)
endfunction()
