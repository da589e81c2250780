# The file index's eyes: the walk over the disk and the live events.
velmora_library(velmora_disk
  SOURCES
    Descriptor.cpp
    DirectoryReader.cpp
    DiskFileAttributes.cpp
    DiskFileScanner.cpp
    FSEventsWatcher.cpp
    FanotifyMarks.cpp
    FolderVisitor.cpp
    FolderWalk.cpp
    InotifyMarks.cpp
    LowPriority.cpp
    MarkSet.cpp
    MountTable.cpp
    TreeWatch.cpp
    WatchedFolders.cpp
  LINKS velmora_platform)
