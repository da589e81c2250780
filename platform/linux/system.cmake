# Child processes, and what the desktop session itself can be asked to do.
velmora_library(velmora_system
  SOURCES
    FolderRemoval.cpp
    LinuxChildProcesses.cpp
    LinuxTrash.cpp
    Logind.cpp
    SpawnedProcess.cpp
    TrashFolder.cpp
  LINKS velmora_platform_linux velmora_disk)

# The program behind the shortcuts where the system has none of its own. It is found next to velmora.
add_executable(velmora_shortcuts ShortcutFolder.cpp ShortcutsTool.cpp)
target_link_libraries(velmora_shortcuts PRIVATE velmora_options)
set_target_properties(velmora_shortcuts PROPERTIES
  OUTPUT_NAME velmora-shortcuts
  RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/app")
