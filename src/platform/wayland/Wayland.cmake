# Wayland: running applications and window control through the compositor's window list. The
# client code comes from the protocol files in protocols/ (not packaged in Debian 12), generated
# by wayland-scanner at build time.
enable_language(C)
pkg_check_modules(WAYLAND_CLIENT REQUIRED IMPORTED_TARGET GLOBAL wayland-client)
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
find_package(Qt6 REQUIRED COMPONENTS Gui)

set(_kelp_wl_generated ${CMAKE_CURRENT_BINARY_DIR}/wayland-generated)
file(MAKE_DIRECTORY ${_kelp_wl_generated})
add_library(kelp_wayland_running_protocols OBJECT)
# KDE's window list from the plasma-wayland-protocols package, the wlroots one from protocols/.
find_package(PlasmaWaylandProtocols REQUIRED)
set(_xml_plasma-window-management ${PLASMA_WAYLAND_PROTOCOLS_DIR}/plasma-window-management.xml)
set(_xml_wlr-foreign-toplevel-management-unstable-v1
    ${CMAKE_CURRENT_SOURCE_DIR}/wayland/protocols/wlr-foreign-toplevel-management-unstable-v1.xml)
foreach(_protocol wlr-foreign-toplevel-management-unstable-v1 plasma-window-management)
    set(_xml ${_xml_${_protocol}})
    add_custom_command(
        OUTPUT ${_kelp_wl_generated}/${_protocol}-client-protocol.h
               ${_kelp_wl_generated}/${_protocol}-protocol.c
        COMMAND ${WAYLAND_SCANNER} client-header ${_xml}
                ${_kelp_wl_generated}/${_protocol}-client-protocol.h
        COMMAND ${WAYLAND_SCANNER} private-code ${_xml} ${_kelp_wl_generated}/${_protocol}-protocol.c
        DEPENDS ${_xml}
        VERBATIM)
    target_sources(kelp_wayland_running_protocols PRIVATE
        ${_kelp_wl_generated}/${_protocol}-client-protocol.h
        ${_kelp_wl_generated}/${_protocol}-protocol.c)
endforeach()
target_link_libraries(kelp_wayland_running_protocols PRIVATE PkgConfig::WAYLAND_CLIENT)
set_target_properties(kelp_wayland_running_protocols PROPERTIES POSITION_INDEPENDENT_CODE ON AUTOMOC OFF)

target_sources(kelp_platform PRIVATE
    wayland/WaylandClientDisplay.cpp wayland/WaylandClientDisplay.h
    wayland/WaylandRunningApplications.cpp wayland/WaylandRunningApplications.h
    wayland/WaylandWindowControl.cpp wayland/WaylandWindowControl.h
    wayland/WaylandWindowSystem.cpp wayland/WaylandWindowSystem.h
    $<TARGET_OBJECTS:kelp_wayland_running_protocols>)
target_include_directories(kelp_platform SYSTEM PRIVATE ${_kelp_wl_generated})
target_link_libraries(kelp_platform PRIVATE PkgConfig::WAYLAND_CLIENT Qt6::GuiPrivate)
