velmora_test(x11_tests
  SOURCES
    x11/SelectionOwner.cpp
    x11/WindowClassIndexTest.cpp
    x11/X11SessionTest.cpp
  LINKS velmora_x11)

# A program to copy from, for the tests of the whole.
add_executable(selection_owner x11/OwnerProgram.cpp x11/SelectionOwner.cpp)
target_link_libraries(selection_owner PRIVATE velmora_x11)
velmora_precompile(selection_owner "")
add_dependencies(velmora_tests selection_owner)
