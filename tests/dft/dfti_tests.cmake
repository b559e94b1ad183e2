# Descriptor interface tests: configuration semantics, planner choice,
# results against the long-double oracle, concurrency.
orb_add_test(dfti_config_test
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/dfti_config_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dfti_planner_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dfti_memory_test.cpp)
orb_add_test(dfti_results_test
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/engine_oracle.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dfti_complex_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dfti_real_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dfti_concurrency_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/dfti_unrolled_kernels_test.cpp)
