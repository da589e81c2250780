# The display server as it is without a toolkit: on connections of our own, to X11 and to Wayland.
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb)
pkg_check_modules(XFIXES REQUIRED IMPORTED_TARGET xcb-xfixes)
pkg_check_modules(WAYLAND REQUIRED IMPORTED_TARGET wayland-client)
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
set(protocol wlr-data-control-unstable-v1)
set(protocol_xml "${CMAKE_CURRENT_SOURCE_DIR}/protocols/${protocol}.xml")
set(protocol_folder "${CMAKE_CURRENT_BINARY_DIR}/protocols")
file(MAKE_DIRECTORY "${protocol_folder}")
add_custom_command(
  OUTPUT "${protocol_folder}/${protocol}.h" "${protocol_folder}/${protocol}.c"
  COMMAND ${WAYLAND_SCANNER} client-header "${protocol_xml}" "${protocol_folder}/${protocol}.h"
  COMMAND ${WAYLAND_SCANNER} private-code "${protocol_xml}" "${protocol_folder}/${protocol}.c"
  DEPENDS "${protocol_xml}" VERBATIM)
add_library(velmora_wayland_protocols STATIC "${protocol_folder}/${protocol}.h" "${protocol_folder}/${protocol}.c")
target_include_directories(velmora_wayland_protocols SYSTEM PUBLIC "${protocol_folder}")
target_link_libraries(velmora_wayland_protocols PUBLIC PkgConfig::WAYLAND)
velmora_library(velmora_x11
  SOURCES
    LinuxFrontmostApplication.cpp
    SelectionText.cpp
    WaylandClipboard.cpp
    WindowClassIndex.cpp
    X11ActiveWindow.cpp
    X11Connection.cpp
    X11Selection.cpp
    X11Session.cpp
  LINKS velmora_disk velmora_wayland_protocols PkgConfig::XCB PkgConfig::XFIXES PkgConfig::GIO)
