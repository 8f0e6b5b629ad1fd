# X11Stage: an Xvfb of a test's own and a stand-in window manager on it
# (X11Stage.h), for the tests and the benchmarks alike, so included from both.
include_guard(GLOBAL)
find_package(PkgConfig REQUIRED)
pkg_check_modules(X11STAGE_XCB REQUIRED IMPORTED_TARGET xcb)
add_library(X11Stage STATIC ${CMAKE_CURRENT_LIST_DIR}/X11Stage.cpp)
target_include_directories(X11Stage PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(X11Stage PUBLIC PkgConfig::X11STAGE_XCB)
tessel_warnings(X11Stage)

# ewmh-stand-in: plays the window manager on a display for a person to look at.
add_executable(ewmh-stand-in ${CMAKE_CURRENT_LIST_DIR}/EwmhStandIn.cpp)
target_link_libraries(ewmh-stand-in PRIVATE X11Stage)
tessel_warnings(ewmh-stand-in)
