add_executable(clipboard_bench clipboard_bench.cpp)
target_link_libraries(clipboard_bench PRIVATE velmora_services)
velmora_precompile(clipboard_bench "")
