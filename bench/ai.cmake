add_executable(ai_bench ai_bench.cpp)
target_link_libraries(ai_bench PRIVATE velmora_core)
velmora_precompile(ai_bench)
