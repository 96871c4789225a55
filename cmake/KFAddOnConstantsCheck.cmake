# The check behind kf_add_addon's PRE_LINK step: some object of the add-on defines the framework's
# per-add-on constants. Arguments (-D): NM, ADDON, CONSTANTS (the file named), OBJECTS (list).
foreach(object IN LISTS OBJECTS)
  execute_process(COMMAND ${NM} --defined-only -P ${object} OUTPUT_VARIABLE symbols ERROR_QUIET)
  if(symbols MATCHES "(^|\n)sett_ADDON_NAME ")
    return()
  endif()
endforeach()
# In the compiler's form, on one line, so that an editor jumps to the file.
execute_process(COMMAND ${CMAKE_COMMAND} -E echo
  "${CONSTANTS}:1: error: kf_add_addon(${ADDON}): no source file defines the add-on's constants: write KF_DEFINE_ADDON_CONSTANTS(name, settingsFile, ownLanguage, extraLanguages, showedLanguages, updateServer, webSite) in this file, after #include \"KF/KF_AddonConstants.hpp\" (docs/addon-guide.md, \"Per-add-on constants\")")
message(FATAL_ERROR "${ADDON}: the add-on's constants are missing")
