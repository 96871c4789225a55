# Text foundation: KF_String, KF_List (header only), KF_Text_Scanner.
target_sources(kf_framework PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/KF_String.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_String_Compare.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_String_Transform.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_String_Convert.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_String_Detect.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_String_Numbers.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_TextConverters.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_TextFastPaths.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_TextLossless.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_TextUtf8.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_TextSingleByte.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_TextUtf8Vector.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_TextTranscodeVector.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KF_Text_Scanner.cpp)
