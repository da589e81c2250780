# The windows: everything in this directory that sees Qt.
if(NOT VELMORA_HEADLESS)
  velmora_library(velmora_views QT
    SOURCES
      ActionsMenu.cpp
      AnswerView.cpp
      BusyLine.cpp
      ChipButton.cpp
      CommandPanel.cpp
      EmptyView.cpp
      IconImage.cpp
      KeyCaps.cpp
      NoticeLine.cpp
      PaletteController.cpp
      PaletteFooter.cpp
      PaletteInput.cpp
      PaletteView.cpp
      PassiveList.cpp
      PreviewText.cpp
      ResultDelegate.cpp
      ResultIcons.cpp
      ResultList.cpp
      ResultListModel.cpp
      ResultPreviewView.cpp
      SessionBus.cpp
      Shadow.cpp
      SlimScrollBar.cpp
      StatusItem.cpp
      SymbolDrawings.cpp
      SymbolIcons.cpp
      SystemAppearance.cpp
      Texts.cpp
      Theme.cpp
    LINKS velmora_ui_state velmora_log Qt6::Widgets Qt6::Svg Qt6::DBus)
  set_target_properties(velmora_views PROPERTIES AUTOMOC ON)
endif()
