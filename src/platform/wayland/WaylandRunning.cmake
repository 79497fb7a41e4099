# Running applications and window control on Wayland, from the compositor's window list: the
# wlroots foreign-toplevel protocol and the ext foreign-toplevel list (both kept in protocols/,
# not packaged in Debian 12) and KDE's window management (from plasma-wayland-protocols).
find_package(PlasmaWaylandProtocols REQUIRED)
add_library(kelp_wayland_window_list_protocols STATIC)
kelp_wayland_protocol(kelp_wayland_window_list_protocols
    wayland/protocols/wlr-foreign-toplevel-management-unstable-v1.xml)
kelp_wayland_protocol(kelp_wayland_window_list_protocols
    wayland/protocols/ext-foreign-toplevel-list-v1.xml)
kelp_wayland_protocol(kelp_wayland_window_list_protocols
    ${PLASMA_WAYLAND_PROTOCOLS_DIR}/plasma-window-management.xml)
set_target_properties(kelp_wayland_window_list_protocols PROPERTIES
    POSITION_INDEPENDENT_CODE ON AUTOMOC OFF)
target_sources(kelp_platform PRIVATE
    wayland/WaylandClientDisplay.cpp wayland/WaylandClientDisplay.h
    wayland/WaylandRunningApplications.cpp wayland/WaylandRunningApplications.h
    wayland/WaylandWindowControl.cpp wayland/WaylandWindowControl.h
    wayland/WaylandWindowSystem.cpp wayland/WaylandWindowSystem.h)
target_link_libraries(kelp_platform PRIVATE kelp_wayland_window_list_protocols)

