# Helpers for what the build writes beside the programs: manual pages,
# completions, icons.

# Our programs that the build itself runs (the icon drawer, the tool whose
# help becomes its manual page): under the sanitizers a leak reported at exit
# would fail the build for nothing a user ever meets.
set(TESSEL_BUILD_TOOL_ENV ASAN_OPTIONS=detect_leaks=0)

# A manual page compressed as Debian installs it: gzip -9 without a name or a
# time inside, so the same page always gives the same bytes. Sets `outVar` to
# the .gz file.
function(tessel_compressed_page page outVar)
  get_filename_component(name ${page} NAME)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/compressed)
  add_custom_command(OUTPUT ${folder}/${name}.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${CMAKE_COMMAND} -E copy ${page} ${folder}/${name}
    COMMAND gzip -9nf ${folder}/${name}
    DEPENDS ${page}
    VERBATIM)
  set(${outVar} ${folder}/${name}.gz PARENT_SCOPE)
endfunction()
