# kf_add_addon_validate(NAME <test> ADDON <target> [STRICTNESS N] [SEED N] [TIMEOUT S]
#                       [VERSION_LINE "CODE a.b.c.d (HVn) DD/MM/YYYY"] [ARGS <more kfhost validate arguments>])
#
# Registers a CTest that runs `kfhost validate` on the bundle of an add-on made with kf_add_addon():
# every check up to STRICTNESS (default 10), with a fixed SEED (default 1) so that a failure can be
# replayed. TIMEOUT is the time one check may take (default 60 s). VERSION_LINE is the add-on's own
# versions-file line, with which the update check also tries a newer and an older release.
function(kf_add_addon_validate)
  cmake_parse_arguments(ARG "" "NAME;ADDON;STRICTNESS;SEED;TIMEOUT;VERSION_LINE" "ARGS" ${ARGN})
  if(NOT ARG_NAME OR NOT ARG_ADDON)
    message(FATAL_ERROR "kf_add_addon_validate: NAME and ADDON are required")
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
  if(NOT DEFINED ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  # The installed package names the host KF::kfhost; inside the project it is kfhost.
  if(TARGET KF::kfhost)
    set(host KF::kfhost)
  else()
    set(host kfhost)
  endif()
  set(version_line)
  if(ARG_VERSION_LINE)
    set(version_line --version-line ${ARG_VERSION_LINE})
  endif()
  add_test(NAME ${ARG_NAME}
    COMMAND $<TARGET_FILE:${host}> validate --strictness ${ARG_STRICTNESS} --seed ${ARG_SEED}
            --timeout ${ARG_TIMEOUT} ${version_line} ${ARG_ARGS} ${bundle})
  set_tests_properties(${ARG_NAME} PROPERTIES TIMEOUT 600)
endfunction()
