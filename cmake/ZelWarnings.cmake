# zel_set_warnings(target): the project's warning set, as errors when
# ZEL_WARNINGS_AS_ERRORS is on (CI). Applied to our own targets only, not to
# third-party code built alongside (GoogleTest).
function(zel_set_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-align
    -Wformat=2 -Wundef)
  if(ZEL_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
