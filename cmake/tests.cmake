# Where tests find the source tree. Wine has the computer's root as drive Z.
set(KVX_SEEN_FROM_TESTS ${PROJECT_SOURCE_DIR})
if(WIN32)
  set(KVX_SEEN_FROM_TESTS Z:${PROJECT_SOURCE_DIR})
endif()

# In seconds: one that hangs fails, and the run goes on.
set(KVX_LONGEST_TEST 120)

# add_engine_test(keyer winkeyer_test.cpp ...): the tests of one folder, linked with its library and the fakes.
function(add_engine_test folder)
  add_executable(${folder}_test ${ARGN})
  target_link_libraries(${folder}_test PRIVATE kvx_${folder} kvx_fakes GTest::gtest_main)
  target_compile_definitions(${folder}_test PRIVATE KVX_TEST_DATA="${KVX_SEEN_FROM_TESTS}/tests/data" KVX_DATA="${KVX_SEEN_FROM_TESTS}/data")
  if(WIN32)
    add_test(NAME ${folder}_test COMMAND ${folder}_test)  # under Wine a process takes its time
  else()
    gtest_discover_tests(${folder}_test DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${KVX_LONGEST_TEST})
  endif()
endfunction()

# add_window_test(console console_window_test.cpp ...): the tests of a folder's windows, on Qt's offscreen platform.
function(add_window_test folder)
  find_package(Qt6 REQUIRED COMPONENTS Test)
  add_executable(${folder}_window_test ${ARGN} ${PROJECT_SOURCE_DIR}/tests/fakes/window_main.cpp)
  target_link_libraries(${folder}_window_test PRIVATE kvx_${folder}_window kvx_fakes GTest::gtest Qt6::Test)
  target_compile_definitions(${folder}_window_test PRIVATE KVX_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data" KVX_DATA="${PROJECT_SOURCE_DIR}/data")
  gtest_discover_tests(${folder}_window_test DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${KVX_LONGEST_TEST})
endfunction()
