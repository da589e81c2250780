# The Wayland protocols that no library brings, as code made from their descriptions.
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
set(protocol wlr-data-control-unstable-v1)
set(protocol_xml "${CMAKE_CURRENT_LIST_DIR}/${protocol}.xml")
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
