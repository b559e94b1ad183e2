# Transform engine tests against a long-double naive DFT oracle; the
# longest program of the suite, run as two tests of about equal length:
# the kernel builds and layouts, and the long lengths.
orb_add_test(engine_dft_test
  SPLIT "AllLevels/*:Table/*"
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/engine_oracle.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_lengths_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_layouts_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_large_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_cache_split_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_row_radix_test.cpp)
