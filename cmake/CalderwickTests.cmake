# calderwick_add_test(NAME tst_foo SOURCES tst_foo.cpp LIBS lib1 lib2 [DISPLAY] [TIMEOUT s])
# One QtTest executable per class or small group; DISPLAY marks tests that need an X server
# (the test command runs CTest under xvfb-run, so they simply find $DISPLAY set).
function(calderwick_add_test)
  cmake_parse_arguments(T "DISPLAY" "NAME;TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  set_target_properties(${T_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
  target_link_libraries(${T_NAME} PRIVATE Qt5::Test Qt5::Widgets ${T_LIBS})
  target_include_directories(${T_NAME} PRIVATE ${CMAKE_SOURCE_DIR}/tests/common)
  target_compile_definitions(${T_NAME} PRIVATE
    CALDERWICK_BIN_DIR="${CALDERWICK_BIN_DIR}"
    CALDERWICK_TEST_BIN_DIR="${CMAKE_BINARY_DIR}/tests/bin"
    CALDERWICK_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  add_test(NAME ${T_NAME} COMMAND ${T_NAME})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  set(labels unit)
  if(T_DISPLAY)
    set(labels display)
    # One X server serves the whole run: windows of two such tests at once could cover each
    # other, and a click or a screen grab would land on the wrong one.
    set_tests_properties(${T_NAME} PROPERTIES RESOURCE_LOCK xdisplay)
  endif()
  set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${labels}")
  if(NOT T_DISPLAY)
    set_property(TEST ${T_NAME} APPEND PROPERTY ENVIRONMENT QT_QPA_PLATFORM=offscreen)
  endif()
  # Settings and data a test writes stay in the build tree even when the test does not make
  # a home of its own: never the developer's own configuration.
  set_property(TEST ${T_NAME} APPEND PROPERTY ENVIRONMENT
    "XDG_CONFIG_HOME=${CMAKE_BINARY_DIR}/tests/home/${T_NAME}/config"
    "XDG_DATA_HOME=${CMAKE_BINARY_DIR}/tests/home/${T_NAME}/data")
endfunction()
