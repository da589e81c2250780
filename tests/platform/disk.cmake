velmora_test(disk_tests
  SOURCES DiskFileScannerTest.cpp
  LINKS velmora_disk)
