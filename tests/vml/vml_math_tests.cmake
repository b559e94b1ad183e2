# Tests of the root, power and arc-tangent kernels. The oracle is MPFR where
# the target has it, libquadmath elsewhere (Windows and 32-bit builds).
find_library(ORB_MPFR_LIB mpfr)
find_library(ORB_GMP_LIB gmp)
if(ORB_MPFR_LIB AND ORB_GMP_LIB)
  set(ORB_MATH_ORACLE vml_math_oracle.cpp)
  set(ORB_MATH_ORACLE_LIBS ${ORB_MPFR_LIB} ${ORB_GMP_LIB})
else()
  set(ORB_MATH_ORACLE vml_math_oracle_quad.cpp)
  set(ORB_MATH_ORACLE_LIBS quadmath)
endif()
orb_add_test(vml_math_accuracy_test
  SOURCES vml_math_accuracy_test.cpp ${ORB_MATH_ORACLE}
  LIBS ${ORB_MATH_ORACLE_LIBS})
target_include_directories(vml_math_accuracy_test PRIVATE ${PROJECT_SOURCE_DIR})

# The long accuracy sweep (not a test): tools/accuracy, run by hand.
add_executable(vml_math_sweep ${PROJECT_SOURCE_DIR}/tools/accuracy/vml_math_sweep.cpp
  ${ORB_MATH_ORACLE})
target_include_directories(vml_math_sweep PRIVATE ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_options(vml_math_sweep PRIVATE -Wall -Wextra)
target_link_libraries(vml_math_sweep PRIVATE orb_custom_static ${ORB_MATH_ORACLE_LIBS})
