velmora_test(disk_tests
  SOURCES DiskFileScannerTest.cpp FSEventsWatcherTest.cpp
  LINKS velmora_disk)
