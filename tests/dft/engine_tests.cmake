# Transform engine tests against a long-double naive DFT oracle.
orb_add_test(engine_dft_test
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/engine_oracle.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_alloc_shim.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_lengths_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_layouts_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_large_test.cpp)
