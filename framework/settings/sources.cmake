target_sources(kf_framework PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/KF_SettingsFormat.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_AddonSettings.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_Language.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_Resource.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_LanguageDialog.cpp)
