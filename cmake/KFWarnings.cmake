# Warnings are set per target so that consumers of the installed package never inherit them.
function(kf_set_warnings target)
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall -Wextra -Wpedantic -Wno-multichar>)
endfunction()
