pkg_check_modules(WAYLAND_SERVER REQUIRED IMPORTED_TARGET wayland-server)
set(server_header "${CMAKE_CURRENT_BINARY_DIR}/protocols/wlr-data-control-server.h")
file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/protocols")
set(protocol_xml "${CMAKE_SOURCE_DIR}/platform/linux/protocols/wlr-data-control-unstable-v1.xml")
add_custom_command(
  OUTPUT "${server_header}"
  COMMAND ${WAYLAND_SCANNER} server-header "${protocol_xml}" "${server_header}"
  DEPENDS "${protocol_xml}" VERBATIM)

velmora_test(x11_tests
  SOURCES
    x11/Compositor.cpp
    x11/SelectionOwner.cpp
    x11/WaylandClipboardTest.cpp
    x11/WindowClassIndexTest.cpp
    x11/X11SessionTest.cpp
    "${server_header}"
  LINKS velmora_x11 PkgConfig::WAYLAND_SERVER)
target_include_directories(x11_tests SYSTEM PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/protocols")

# A program to copy from, for the tests of the whole.
add_executable(selection_owner x11/OwnerProgram.cpp x11/SelectionOwner.cpp)
target_link_libraries(selection_owner PRIVATE velmora_x11)
velmora_precompile(selection_owner "")
add_dependencies(velmora_tests selection_owner)
