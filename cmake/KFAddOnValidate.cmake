# kf_add_addon_validate(NAME <test> ADDON <target> [STRICTNESS N] [SEED N] [TIMEOUT S]
#                       [VERSION_LINE "CODE a.b.c.d (HVn) DD/MM/YYYY"] [ARGS <more kfhost validate arguments>])
#
# Registers a CTest that runs `kfhost validate` on the bundle of an add-on made with kf_add_addon():
# every check up to STRICTNESS (default 10), with a fixed SEED (default 1) so that a failure can be
# replayed. TIMEOUT is the time one call into the add-on may take before it counts as hanging
# (default: the validator's, 5 s). VERSION_LINE is the add-on's own versions-file line, with which
# the update check also tries a newer and an older release; without it, the line the add-on's
# CONSTANTS file defines with KF_DEFINE_VERSION_LINE is taken.
#
# The package's config file includes this file; `include(KFAddOnValidate)` finds it too.
function(kf_add_addon_validate)
  cmake_parse_arguments(ARG "" "NAME;ADDON;STRICTNESS;SEED;TIMEOUT;VERSION_LINE" "ARGS" ${ARGN})
  if(NOT ARG_NAME OR NOT ARG_ADDON)
    message(FATAL_ERROR "kf_add_addon_validate: NAME and ADDON are required")
  endif()
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kf_add_addon_validate(${ARG_NAME}): unknown arguments ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT TARGET ${ARG_ADDON})
    message(FATAL_ERROR "kf_add_addon_validate(${ARG_NAME}): ${ARG_ADDON} is not a target")
  endif()
  get_target_property(bundle ${ARG_ADDON} KF_BUNDLE_DIR)
  if(NOT bundle)
    message(FATAL_ERROR "kf_add_addon_validate(${ARG_NAME}): ${ARG_ADDON} was not made with kf_add_addon()")
  endif()
  if(NOT DEFINED ARG_STRICTNESS)
    set(ARG_STRICTNESS 10)
  endif()
  if(NOT DEFINED ARG_SEED)
    set(ARG_SEED 1)
  endif()
  set(options)
  if(DEFINED ARG_TIMEOUT)
    list(APPEND options --timeout ${ARG_TIMEOUT})
  endif()
  if(NOT ARG_VERSION_LINE)
    get_target_property(constants ${ARG_ADDON} KF_CONSTANTS_FILE)
    if(constants)
      file(READ ${constants} text)
      if(text MATCHES "KF_DEFINE_VERSION_LINE\\([ \t\r\n]*[A-Za-z_0-9]+[ \t\r\n]*,[ \t\r\n]*\"([^\"]*)\"")
        set(ARG_VERSION_LINE "${CMAKE_MATCH_1}")
      endif()
      # An edited line is seen at the next build.
      set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${constants})
    endif()
  endif()
  if(ARG_VERSION_LINE)
    list(APPEND options --version-line ${ARG_VERSION_LINE})
  endif()
  # The installed package names the host KF::kfhost; inside the project it is kfhost.
  if(TARGET KF::kfhost)
    set(host KF::kfhost)
  else()
    set(host kfhost)
  endif()
  add_test(NAME ${ARG_NAME}
    COMMAND $<TARGET_FILE:${host}> validate --strictness ${ARG_STRICTNESS} --seed ${ARG_SEED}
            ${options} ${ARG_ARGS} ${bundle})
  set_tests_properties(${ARG_NAME} PROPERTIES TIMEOUT 600)
endfunction()
