# Every target of ours calls tessel_warnings(); third-party headers come in as SYSTEM.
function(tessel_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
    -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
  if(TESSEL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
