velmora_test(disk_tests
  SOURCES DiskFileScannerTest.cpp FSEventsWatcherTest.cpp
  LINKS velmora_disk)

# The marks are there for ordinary users, and root gets more than they do. Once is enough: it is a minute of real waiting.
find_program(SETPRIV setpriv)
execute_process(COMMAND id -u OUTPUT_VARIABLE user OUTPUT_STRIP_TRAILING_WHITESPACE)
if(SETPRIV AND user STREQUAL "0" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  add_test(NAME disk_tests.AsOrdinaryUser
    COMMAND ${SETPRIV} --reuid 65534 --regid 65534 --clear-groups --no-new-privs --inh-caps=-all --bounding-set=-all
      $<TARGET_FILE:disk_tests> --gtest_filter=*FSEventsWatcher*:*GoesOnWhere*:*FailsOnly*)
  set_tests_properties(disk_tests.AsOrdinaryUser PROPERTIES TIMEOUT 300)
endif()
