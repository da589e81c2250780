# What the platform needs of Qt and X11; the rest of this directory knows neither.
if(NOT VELMORA_HEADLESS)
  pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb)
  velmora_library(velmora_platform_linux_qt QT
    SOURCES AlertDialog.cpp QtAlerts.cpp QtFolderPanel.cpp QtMainExecutor.cpp QtPasteboard.cpp QtPopUpMenu.cpp X11WindowManager.cpp
    LINKS velmora_platform Qt6::Widgets PkgConfig::XCB)
endif()
