# add_engine_test(keyer winkeyer_test.cpp ...): the tests of one folder, linked with its library and the fakes.
function(add_engine_test folder)
  add_executable(${folder}_test ${ARGN})
  target_link_libraries(${folder}_test PRIVATE kvx_${folder} kvx_fakes GTest::gtest_main)
  target_compile_definitions(${folder}_test PRIVATE KVX_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data" KVX_DATA="${PROJECT_SOURCE_DIR}/data")
  gtest_discover_tests(${folder}_test DISCOVERY_TIMEOUT 60)
endfunction()
