add_executable(walk_bench walk_bench.cpp)
target_link_libraries(walk_bench PRIVATE velmora_disk)
velmora_precompile(walk_bench)
