# The file index's eyes: the walk over the disk and the live events.
velmora_library(velmora_disk
  SOURCES
    Descriptor.cpp
    DirectoryReader.cpp
    DiskFileAttributes.cpp
    DiskFileScanner.cpp
    FolderWalk.cpp
    LowPriority.cpp
    MountTable.cpp
  LINKS velmora_platform)
