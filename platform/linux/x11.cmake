# The X11 desktop as it is without a toolkit: on a connection of our own.
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb)
pkg_check_modules(XFIXES REQUIRED IMPORTED_TARGET xcb-xfixes)
velmora_library(velmora_x11
  SOURCES
    LinuxFrontmostApplication.cpp
    SelectionText.cpp
    WindowClassIndex.cpp
    X11ActiveWindow.cpp
    X11Connection.cpp
    X11Selection.cpp
    X11Session.cpp
  LINKS velmora_platform PkgConfig::XCB PkgConfig::XFIXES PkgConfig::GIO)
