# Run by the tests; misbehaves as told.
add_executable(misbehaving_child MisbehavingChild.cpp)
target_link_libraries(misbehaving_child PRIVATE velmora_options)

velmora_test(system_tests
  SOURCES LinuxChildProcessesTest.cpp LogindTest.cpp ShortcutsToolTest.cpp TrashFolderTest.cpp
  LINKS velmora_system velmora_services)
add_dependencies(system_tests misbehaving_child velmora_shortcuts)
target_compile_definitions(system_tests PRIVATE
  VELMORA_MISBEHAVING_CHILD="$<TARGET_FILE:misbehaving_child>"
  VELMORA_SHORTCUTS_TOOL="$<TARGET_FILE:velmora_shortcuts>")

# Root may do what others may not.
find_program(SETPRIV setpriv)
execute_process(COMMAND id -u OUTPUT_VARIABLE user OUTPUT_STRIP_TRAILING_WHITESPACE)
if(SETPRIV AND user STREQUAL "0")
  add_test(NAME system_tests.AsOrdinaryUser
    COMMAND ${SETPRIV} --reuid 65534 --regid 65534 --clear-groups --no-new-privs --inh-caps=-all --bounding-set=-all
      $<TARGET_FILE:system_tests> --gtest_filter=TrashFolderTest.*:LinuxChildProcessesTest.*)
  set_tests_properties(system_tests.AsOrdinaryUser PROPERTIES TIMEOUT 120)
endif()
