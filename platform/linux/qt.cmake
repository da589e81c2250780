# What the platform needs of Qt and X11; the rest of this directory knows neither.
if(NOT VELMORA_HEADLESS)
  velmora_library(velmora_platform_linux_qt QT
    SOURCES AlertDialog.cpp QtAlerts.cpp QtFolderPanel.cpp QtMainExecutor.cpp QtPasteboard.cpp QtPopUpMenu.cpp X11WindowManager.cpp
    LINKS velmora_x11 Qt6::Widgets)
endif()
