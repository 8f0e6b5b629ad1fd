# Every target of ours calls tessel_warnings(); third-party headers come in as SYSTEM.
set(TESSEL_WARNING_FLAGS
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
  -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
if(TESSEL_WERROR)
  list(APPEND TESSEL_WARNING_FLAGS -Werror)
endif()

function(tessel_warnings target)
  target_compile_options(${target} PRIVATE ${TESSEL_WARNING_FLAGS})
endfunction()

# For a target that also compiles generated code (the QML compiler's output),
# whose warnings are not ours to fix: only the listed sources get the flags.
function(tessel_warnings_for_sources)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${TESSEL_WARNING_FLAGS}")
endfunction()
